#include "platform/KRunnerBridge.h"

#include "core/Log.h"
#include "intents/IntentCatalogue.h"
#include "intents/IntentsService.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QPointer>

QDBusArgument &operator<<(QDBusArgument &arg, const KRunnerMatch &m)
{
    arg.beginStructure();
    arg << m.id << m.text << m.iconName << m.type << m.relevance << m.properties;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, KRunnerMatch &m)
{
    arg.beginStructure();
    arg >> m.id >> m.text >> m.iconName >> m.type >> m.relevance >> m.properties;
    arg.endStructure();
    return arg;
}

QDBusArgument &operator<<(QDBusArgument &arg, const KRunnerAction &a)
{
    arg.beginStructure();
    arg << a.id << a.text << a.iconName;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, KRunnerAction &a)
{
    arg.beginStructure();
    arg >> a.id >> a.text >> a.iconName;
    arg.endStructure();
    return arg;
}

namespace {
constexpr int kExactMatch = 100;
constexpr int kPossibleMatch = 30;
// A match id is the intent's name, then the words typed after the phrase.
constexpr QChar kIdSeparator = u'\n';
} // namespace

KRunnerBridge::KRunnerBridge(IntentsService &service, QObject *parent)
    : QObject(parent)
    , m_service(service)
{
    qDBusRegisterMetaType<KRunnerMatch>();
    qDBusRegisterMetaType<QList<KRunnerMatch>>();
    qDBusRegisterMetaType<KRunnerAction>();
    qDBusRegisterMetaType<QList<KRunnerAction>>();
}

bool KRunnerBridge::registerOn(QDBusConnection bus)
{
    return bus.registerObject(QString::fromLatin1(objectPath), this, QDBusConnection::ExportScriptableSlots);
}

QList<KRunnerMatch> KRunnerBridge::matches(const QString &query, const QString &appName)
{
    const QString q = query.simplified();
    const QString lower = q.toLower();
    QList<KRunnerMatch> out;
    if (lower.size() < 3)
        return out;
    for (const IntentCatalogue::AppShortcut &s : IntentCatalogue::appShortcuts()) {
        const IntentDefinition *intent = IntentCatalogue::find(s.intent);
        if (!intent)
            continue;
        for (const QString &phrase : s.phrasesFor(appName)) {
            const QString p = phrase.toLower();
            KRunnerMatch m;
            m.iconName = s.symbol;
            m.properties.insert(QStringLiteral("subtext"), phrase);
            if (lower.startsWith(p) && (lower.size() == p.size() || lower[p.size()] == u' ')) {
                const QString rest = q.mid(p.size()).trimmed();
                m.id = s.intent + kIdSeparator + rest;
                m.type = kExactMatch;
                m.relevance = 1.0;
                m.text = rest.isEmpty() ? s.shortTitle : s.shortTitle + QStringLiteral("：") + rest;
                QStringList needs;
                for (const IntentParameter &param : intent->parameters)
                    needs << param.title;
                if (!needs.isEmpty())
                    m.properties.insert(QStringLiteral("subtext"), needs.join(QStringLiteral(" · ")));
            } else if (p.startsWith(lower)) {
                m.id = s.intent + kIdSeparator;
                m.type = kPossibleMatch;
                m.relevance = double(lower.size()) / double(p.size());
                m.text = s.shortTitle;
            } else {
                continue;
            }
            out.append(m);
            break; // one match per shortcut
        }
    }
    std::stable_sort(
        out.begin(), out.end(), [](const KRunnerMatch &a, const KRunnerMatch &b) { return a.relevance > b.relevance; });
    return out;
}

QList<KRunnerMatch> KRunnerBridge::Match(const QString &query)
{
    return matches(query);
}

QList<KRunnerAction> KRunnerBridge::Actions()
{
    return {};
}

void KRunnerBridge::Run(const QString &matchId, const QString &)
{
    const QString name = matchId.section(kIdSeparator, 0, 0);
    const QString rest = matchId.section(kIdSeparator, 1);
    const IntentDefinition *intent = IntentCatalogue::find(name);
    if (!intent)
        return;
    // Words fill the parameters in order; the last one takes the rest of the line.
    QVariantMap values;
    QStringList words = rest.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (qsizetype i = 0; i < intent->parameters.size() && !words.isEmpty(); ++i) {
        const bool last = i == intent->parameters.size() - 1;
        values.insert(intent->parameters[i].name, last ? words.join(QLatin1Char(' ')) : words.takeFirst());
        if (last)
            words.clear();
    }
    const QString title = intent->title;
    m_service.perform(
        *intent, IntentArguments(values), [self = QPointer<KRunnerBridge>(this), title](const IntentResult &result) {
            if (result.status == IntentResult::Status::cancelled)
                return;
            const bool failed = result.status == IntentResult::Status::failed;
            const QString text = failed ? result.error.errorDescription() : result.dialog;
            Log::emit(Log::Category::intents,
                QStringLiteral("krunner: %1 %2")
                    .arg(title, failed ? QStringLiteral("failed") : QStringLiteral("done")));
            if (self)
                Q_EMIT self->resultReady(title, text, failed);
        });
}
