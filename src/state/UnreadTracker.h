#pragma once

#include "model/PanelState.h"

#include <QHash>
#include <QObject>

// Up to which moment the user has read each peer's messages, persisted in the settings
// under "quillmote.unread.lastReadMillis.v1" as a map of handle → milliseconds. Marks only
// ever move forward. Main thread only.
class UnreadTracker : public QObject
{
    Q_OBJECT
public:
    static inline const QString settingsKey = QStringLiteral("quillmote.unread.lastReadMillis.v1");

    // `stored`: the marks live in the settings. `scratch`: they start empty and are kept in
    // memory only, for a view over sample data that must not touch the user's record.
    enum class Storage { stored, scratch };

    // Loads the stored marks; a missing entry, or one with any non-number value, starts empty.
    explicit UnreadTracker(QObject *parent = nullptr, Storage storage = Storage::stored);

    const QHash<QString, double> &lastReadMillis() const { return m_lastRead; }

    // How many of `messages` (the ones received from peer) are newer than the peer's mark.
    // Without a mark every message counts, even one whose time does not parse.
    int unreadCount(const QString &peer, const QList<Message> &messages) const;
    // The same over message times already parsed (nullopt: no parsable time).
    int unreadCount(const QString &peer, const QList<std::optional<double>> &times) const;

    // Moves the peer's mark to the newest time among messages and persists it; does nothing
    // when no time parses or the mark would not move forward.
    void markRead(const QString &peer, const QList<Message> &messages);
    // The same with the newest time already known (nullopt: nothing to mark).
    void markReadUpTo(const QString &peer, std::optional<double> newest);

Q_SIGNALS:
    void changed();

private:
    QHash<QString, double> m_lastRead;
    Storage m_storage;
};
