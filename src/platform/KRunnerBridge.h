#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QList>
#include <QObject>
#include <QVariantMap>

#include <functional>

class IntentsService;

// KRunner's remote match and action records: (sssida{sv}) and (sss).
struct KRunnerMatch {
    QString id;
    QString text;
    QString iconName;
    int type = 0; // KRunner's match type: 100 exact, 30 possible
    double relevance = 0;
    QVariantMap properties;
};
struct KRunnerAction {
    QString id;
    QString text;
    QString iconName;
};
QDBusArgument &operator<<(QDBusArgument &arg, const KRunnerMatch &m);
const QDBusArgument &operator>>(const QDBusArgument &arg, KRunnerMatch &m);
QDBusArgument &operator<<(QDBusArgument &arg, const KRunnerAction &a);
const QDBusArgument &operator>>(const QDBusArgument &arg, KRunnerAction &a);
Q_DECLARE_METATYPE(KRunnerMatch)
Q_DECLARE_METATYPE(KRunnerAction)

// The app shortcuts in KRunner (org.kde.krunner1 at /com/quillmote/Notifier/KRunner):
// typing the start of a phrase ("用 Quillmote 发", "send a message with") offers the
// action; the words after a whole phrase fill its parameters in order, the last taking
// the rest ("用 Quillmote 发消息 alice 晚上见"). Running a match performs the action
// (with its confirmation) and hands the answer to onResult.
class KRunnerBridge : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.krunner1")
public:
    static constexpr const char *objectPath = "/com/quillmote/Notifier/KRunner";

    explicit KRunnerBridge(IntentsService &service, QObject *parent = nullptr);

    bool registerOn(QDBusConnection bus);

    // The matches for a query, best first; `appName` stands for {app} in the phrases.
    static QList<KRunnerMatch> matches(const QString &query, const QString &appName = QStringLiteral("Quillmote"));

Q_SIGNALS:
    // The answer of a run: its title, the dialog or error text, and whether it failed.
    void resultReady(const QString &title, const QString &text, bool failed);

public Q_SLOTS:
    Q_SCRIPTABLE QList<KRunnerMatch> Match(const QString &query);
    Q_SCRIPTABLE QList<KRunnerAction> Actions();
    Q_SCRIPTABLE void Run(const QString &matchId, const QString &actionId);

private:
    IntentsService &m_service;
};
