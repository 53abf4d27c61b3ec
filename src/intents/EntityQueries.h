#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

class ToolRunner;

// A friend, a pending friend request (by the applicant's handle) or an inbox message, as
// pickers and shell completion offer them.
struct IntentEntity {
    QString id; // a handle; for an inbox message its id
    QString display; // "@handle", or "@sender：text" for a message

    bool operator==(const IntentEntity &) const = default;
};

// The searches behind pickers, completion and the D-Bus List… methods. Each asks the tool
// afresh; nothing is cached. A tool failure never reaches the caller: it is logged once
// and the answer is an empty list.
class EntityQueries : public QObject
{
    Q_OBJECT
public:
    explicit EntityQueries(ToolRunner &runner, QObject *parent = nullptr);

    enum class Kind { friends, friendRequests, inboxMessages };
    using Done = std::function<void(const QList<IntentEntity> &)>;

    // Every entity whose handle contains the normalised search (all when it is empty), in
    // the tool's order. Inbox messages also match on their text.
    void matching(Kind kind, const QString &search, Done done);
    // All entities (the suggestions).
    void suggested(Kind kind, Done done) { matching(kind, QString(), std::move(done)); }
    // The entities named by `ids`, in that order; ids the tool no longer knows are dropped.
    void entitiesFor(Kind kind, const QStringList &ids, Done done);

    // Blanks and "@" trimmed from both ends, lower-cased.
    static QString normalizeSearch(const QString &search);
    static QList<IntentEntity> filter(const QList<IntentEntity> &all, const QString &search);

    // "Quillmote 好友" and the like.
    static QString typeDisplayName(Kind kind);
    static QString countDisplayName(Kind kind, qlonglong count);

private:
    void all(Kind kind, Done done);

    ToolRunner &m_runner;
};
