#pragma once

#include "model/PanelState.h"
#include "state/Session.h"
#include "state/UnreadTracker.h"

#include <QHash>
#include <QObject>

#include <memory>
#include <optional>

class StateClient;

// The main window's model: the latest state document turned into sorted, searchable
// conversations with unread counts, plus the detail selection and the sidebar's search
// text. Whoever fetches the document hands it over with setState().
//
// Filtering is per keystroke, so everything it reads is derived once per state: each
// message's lowercased search text (kept by message id and reused while the message is
// unchanged), each session's lowercased preview, and per peer one text of all its
// messages' search texts. A keystroke is then a few substring scans.
//
// All of that is one immutable derivation, so a long history can be derived on a worker
// thread (submitState) while the main thread keeps serving the last one. Main thread only.
class AppState : public QObject
{
    Q_OBJECT
public:
    explicit AppState(QObject *parent = nullptr, UnreadTracker::Storage marks = UnreadTracker::Storage::stored);
    ~AppState() override;

    UnreadTracker *unread() const { return m_unread; }

    // Takes a new document at once, deriving it on this (the main) thread.
    void setState(const PanelState &state);
    // Takes a new document without blocking: it is derived on a worker thread and adopted
    // on the main thread. Documents that arrive meanwhile collapse to the newest one.
    void submitState(const PanelState &state);
    // Takes every document the client publishes, starting with the one it holds now (that
    // one at once, later ones through submitState). Ends with either object.
    void follow(StateClient &client);
    const PanelState &state() const;

    // All sessions, newest first; contacts without messages come last.
    const QList<Session> &sessions() const;
    // sessions() narrowed by searchText(): peer, last message's preview, or any message's
    // search text contains the trimmed, lowercased needle.
    const QList<Session> &filteredSessions() const;
    // The messages with one peer, oldest first (document order among equal times).
    QList<Message> conversation(const QString &peer) const;
    // The same messages as indices into state().messages: no copy, for views of long histories.
    QList<qsizetype> conversationRows(const QString &peer) const;
    std::optional<Contact> contact(const QString &peer) const;
    // The one-line preview of the session's newest message ("" without one).
    QString preview(const QString &peer) const;
    // Received messages of peer newer than its read mark.
    int unreadCount(const QString &peer) const;
    int totalUnread() const;

    const std::optional<DetailSelection> &selection() const;
    // Selecting a conversation marks it read. A new document never changes the selection,
    // not even for a peer it does not know.
    void setSelection(const std::optional<DetailSelection> &selection);
    const QString &searchText() const;
    void setSearchText(const QString &text);

Q_SIGNALS:
    void stateChanged(); // sessions, conversations and contacts were re-derived
    void filteredSessionsChanged();
    void selectionChanged();
    void searchTextChanged();
    void unreadChanged();

private:
    struct MessageInfo;
    struct PeerInfo;
    struct Derived;
    static std::shared_ptr<const Derived> derive(const PanelState &state, const Derived &previous);
    void adopt(std::shared_ptr<const Derived> derived);
    void deriveNextInBackground();
    const PeerInfo *peerInfo(const QString &peer) const;
    void markSelectionRead();
    bool matches(const PeerInfo &peer, const QString &needle) const;
    void assertMainThread() const;

    UnreadTracker *m_unread;
    std::shared_ptr<const Derived> m_derived;
    std::optional<DetailSelection> m_selection;
    QString m_searchText;

    std::optional<PanelState> m_pending; // the newest document waiting for a worker
    bool m_deriving = false;
    quint64 m_generation = 0; // a document taken at once outdates the derivations under way

    mutable QList<Session> m_filtered;
    mutable bool m_filteredValid = false;
};
