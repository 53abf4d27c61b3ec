#include "intents/EntityQueries.h"

#include "cli/CLIResponses.h"
#include "core/Log.h"
#include "intents/IntentCatalogue.h"
#include "intents/ToolRunner.h"

#include <QSet>

EntityQueries::EntityQueries(ToolRunner &runner, QObject *parent)
    : QObject(parent)
    , m_runner(runner)
{
}

QString EntityQueries::normalizeSearch(const QString &search)
{
    QString s = search.trimmed();
    qsizetype from = 0;
    qsizetype to = s.size();
    while (from < to && s[from] == QLatin1Char('@'))
        ++from;
    while (to > from && s[to - 1] == QLatin1Char('@'))
        --to;
    return s.mid(from, to - from).toLower();
}

QList<IntentEntity> EntityQueries::filter(const QList<IntentEntity> &all, const QString &search)
{
    const QString needle = normalizeSearch(search);
    if (needle.isEmpty())
        return all;
    QList<IntentEntity> out;
    for (const IntentEntity &e : all) {
        if (e.id.toLower().contains(needle))
            out.append(e);
    }
    return out;
}

QString EntityQueries::typeDisplayName(Kind kind)
{
    switch (kind) {
    case Kind::friends:
        return QStringLiteral("Quillmote 好友");
    case Kind::friendRequests:
        return QStringLiteral("好友申请");
    case Kind::inboxMessages:
        return QStringLiteral("收件箱消息");
    }
    return {};
}

QString EntityQueries::countDisplayName(Kind kind, qlonglong count)
{
    switch (kind) {
    case Kind::friends:
        return QString::number(count) + QStringLiteral(" 位 Quillmote 好友");
    case Kind::friendRequests:
        return QString::number(count) + QStringLiteral(" 条好友申请");
    case Kind::inboxMessages:
        return QString::number(count) + QStringLiteral(" 条收件箱消息");
    }
    return {};
}

void EntityQueries::all(Kind kind, Done done)
{
    const auto handles = [](const QStringList &list) {
        QList<IntentEntity> out;
        for (const QString &h : list)
            out.append({ h, QLatin1Char('@') + h });
        return out;
    };
    switch (kind) {
    case Kind::friends:
        m_runner.run({ QStringLiteral("friends"), QStringLiteral("--json") })
            .then(this, [done, handles](const CLIOutcome<CLIResult> &run) {
                const CLIOutcome<FriendsResponse> r
                    = CLIRunner::decodeAs<FriendsResponse>(QStringLiteral("friends"), run);
                if (!r) {
                    Log::error(Log::Category::intents,
                        QStringLiteral("FriendQuery: friends --json failed: %1").arg(r.error().description()));
                    done({});
                    return;
                }
                done(handles(r->friends));
            });
        return;
    case Kind::friendRequests:
        m_runner.run({ QStringLiteral("requests"), QStringLiteral("--json") })
            .then(this, [done, handles](const CLIOutcome<CLIResult> &run) {
                const CLIOutcome<RequestsResponse> r
                    = CLIRunner::decodeAs<RequestsResponse>(QStringLiteral("requests"), run);
                if (!r) {
                    Log::error(Log::Category::intents,
                        QStringLiteral("FriendRequestQuery: requests --json failed: %1").arg(r.error().description()));
                    done({});
                    return;
                }
                done(handles(r->requests));
            });
        return;
    case Kind::inboxMessages:
        m_runner.run({ QStringLiteral("inbox"), QStringLiteral("--once"), QStringLiteral("--json") })
            .then(this, [done](const CLIOutcome<CLIResult> &run) {
                const CLIOutcome<InboxResponse> r = CLIRunner::decodeAs<InboxResponse>(QStringLiteral("inbox"), run);
                if (!r) {
                    Log::error(Log::Category::intents,
                        QStringLiteral("InboxMessageQuery: inbox --once --json failed: %1")
                            .arg(r.error().description()));
                    done({});
                    return;
                }
                QList<IntentEntity> out;
                for (qsizetype i = 0; i < r->items.size(); ++i) {
                    const InboxItem &item = r->items[i];
                    // A message the tool gave no id is still listed, by its place in the inbox.
                    const QString id = item.message.id.value_or(QStringLiteral("#%1").arg(i + 1));
                    out.append({ id, IntentCatalogue::inboxLine(item) });
                }
                done(out);
            });
        return;
    }
}

void EntityQueries::matching(Kind kind, const QString &search, Done done)
{
    all(kind, [kind, search, done](const QList<IntentEntity> &entities) {
        if (kind != Kind::inboxMessages) {
            done(filter(entities, search));
            return;
        }
        // Messages are found by sender or by text; the display holds both.
        const QString needle = normalizeSearch(search);
        QList<IntentEntity> out;
        for (const IntentEntity &e : entities) {
            if (needle.isEmpty() || e.display.toLower().contains(needle) || e.id.toLower().contains(needle))
                out.append(e);
        }
        done(out);
    });
}

void EntityQueries::entitiesFor(Kind kind, const QStringList &ids, Done done)
{
    all(kind, [ids, done](const QList<IntentEntity> &entities) {
        QList<IntentEntity> out;
        for (const QString &id : ids) {
            for (const IntentEntity &e : entities) {
                if (e.id == id) {
                    out.append(e);
                    break;
                }
            }
        }
        done(out);
    });
}
