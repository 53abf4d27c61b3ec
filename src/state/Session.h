#pragma once

#include "model/PanelState.h"

#include <QHashFunctions>
#include <QString>

#include <optional>

// One conversation of the sidebar: everything exchanged with one peer.
struct Session {
    QString peer; // the session's identity
    std::optional<Message> last; // the newest message; none for a contact without messages
    double lastTimeMillis = 0; // time of `last`, 0 when none or unparseable
    std::optional<Contact> contact;
    friend bool operator==(const Session &, const Session &) = default;
};

// What the main window's detail pane shows.
class DetailSelection
{
public:
    enum class Kind { conversation, profile };

    static DetailSelection conversation(const QString &peer) { return DetailSelection(Kind::conversation, peer); }
    static DetailSelection profile() { return DetailSelection(Kind::profile, QString()); }

    Kind kind() const { return m_kind; }
    bool isConversation() const { return m_kind == Kind::conversation; }
    // The peer of a conversation; empty for the profile.
    const QString &peer() const { return m_peer; }

    friend bool operator==(const DetailSelection &, const DetailSelection &) = default;
    friend size_t qHash(const DetailSelection &s, size_t seed = 0) { return qHashMulti(seed, int(s.m_kind), s.m_peer); }

private:
    DetailSelection(Kind kind, const QString &peer)
        : m_kind(kind)
        , m_peer(peer)
    {
    }
    Kind m_kind;
    QString m_peer;
};
