// The desktop's small contracts: the platform the app picks from the session's variables,
// the XDG autostart entry and the user's say over it, which KRunner queries offer which
// app shortcut, and the forms of the app's URL scheme.
#include "app/DeepLink.h"
#include "platform/KRunnerBridge.h"
#include "platform/SessionPlatform.h"
#include "platform/XdgAutostart.h"
#include "support/Table.h"
#include "support/TestEnv.h"
#include "ui/PreferencesModel.h"

#include <QDir>
#include <QFile>
#include <QTest>

class TestDesktopContracts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void choosePlatform_data() { Table::load<QStringList, QByteArray>({ "vars", "platform" }); }
    void choosePlatform()
    {
        QFETCH(QStringList, vars);
        QFETCH(QByteArray, platform);
        const auto env = [&vars](const char *name) {
            for (const QString &v : vars) {
                if (v.startsWith(QLatin1String(name) + '='))
                    return v.section('=', 1).toUtf8();
            }
            return QByteArray();
        };
        const SessionPlatform::Choice choice = SessionPlatform::choosePlatform(env);
        QCOMPARE(choice.platform, platform);
        QCOMPARE(choice.reason.isEmpty(), platform.isEmpty());
    }

    void writtenOnceThenTheUserDecides()
    {
        TestEnv env;
        using O = XdgAutostart::LaunchOutcome;
        const QString exe = QStringLiteral("/opt/quill mote/quillmote-notifier");
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::registered); // first run
        QVERIFY(QFile::exists(XdgAutostart::entryPath()));
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::enabled);

        QVERIFY(QFile::remove(XdgAutostart::entryPath())); // removed by the user
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::removedByUser);
        QVERIFY(!QFile::exists(XdgAutostart::entryPath()));

        // The preferences switch writes and removes it; off stays off at the next start.
        XdgLoginItem item(exe);
        PreferencesModel prefs(&item);
        QVERIFY(prefs.hasLoginItem() && !prefs.loginItem());
        prefs.setLoginItem(true);
        QVERIFY(prefs.loginItem());
        QFile entry(XdgAutostart::entryPath());
        QVERIFY(entry.open(QIODevice::ReadOnly));
        QVERIFY(entry.readAll().contains("Exec=\"/opt/quill mote/quillmote-notifier\""));
        prefs.setLoginItem(false);
        QVERIFY(!prefs.loginItem());
        QVERIFY(!QFile::exists(XdgAutostart::entryPath()));
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::removedByUser);
    }

    // `why` names the key that turned the entry off; none: the entry is on.
    void respectsTheUsersChoice_data() { Table::load<QByteArray, QString>({ "entry", "why" }); }

    void respectsTheUsersChoice()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QString, why);
        TestEnv env;
        QVERIFY(QDir().mkpath(env.configHome() + "/autostart"));
        QFile f(XdgAutostart::entryPath());
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(entry);
        f.close();
        QString reason;
        QCOMPARE(XdgAutostart::status(&reason),
            why.isEmpty() ? XdgAutostart::Status::enabled : XdgAutostart::Status::turnedOffByUser);
        QCOMPARE(reason, why);
        // Start-up leaves the entry as it is, whether the user turned it off or not.
        const XdgAutostart::LaunchOutcome outcome = XdgAutostart::atLaunch("/usr/bin/quillmote-notifier");
        QCOMPARE(outcome.kind == XdgAutostart::LaunchOutcome::turnedOffByUser, !why.isEmpty());
        QCOMPARE(outcome.detail, why);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), entry);
    }

    // No firstId: no match.
    void phrasesOfferTheirShortcut_data()
    {
        Table::load<QString, QString, int, QString>({ "query", "firstId", "type", "text" });
    }

    void phrasesOfferTheirShortcut()
    {
        QFETCH(QString, query);
        QFETCH(QString, firstId);
        QFETCH(int, type);
        QFETCH(QString, text);
        const QList<KRunnerMatch> found = KRunnerBridge::matches(query);
        QCOMPARE(found.isEmpty(), firstId.isEmpty());
        if (found.isEmpty())
            return;
        QCOMPARE(found.first().id, firstId);
        QCOMPARE(found.first().type, type);
        QCOMPARE(found.first().text, text);
    }

    void readsTheFormsOfTheScheme_data()
    {
        Table::load<QString, QString, QString, QString>({ "url", "kind", "target", "log" });
    }

    void readsTheFormsOfTheScheme()
    {
        QFETCH(QString, url);
        QFETCH(QString, kind);
        QFETCH(QString, target);
        QFETCH(QString, log);
        const QUrl u(url);
        const DeepLink link = DeepLink::parse(url);
        using K = DeepLink::Kind;
        const QMap<QString, K> kinds { { "notQuillmote", K::notQuillmote }, { "conversation", K::conversation },
            { "legacyWakeup", K::legacyWakeup }, { "noTarget", K::noTarget } };
        QCOMPARE(link.kind, kinds.value(kind, K(-1)));
        QCOMPARE(link.target, target);
        QCOMPARE(link.logLine(u), log);
    }

    void wakeUpUrlRoundTrips()
    {
        const QUrl url = DeepLink::openSenderUrl(QStringLiteral("a&b=c 中"));
        QVERIFY(url.toString(QUrl::FullyEncoded).startsWith(QLatin1String("quillmote://open?sender=a%26b%3Dc%20")));
        const DeepLink link = DeepLink::parse(url);
        QCOMPARE(int(link.kind), int(DeepLink::Kind::legacyWakeup));
        QCOMPARE(link.target, QStringLiteral("a&b=c 中"));
    }
};

QTEST_GUILESS_MAIN(TestDesktopContracts)
#include "tst_desktopcontracts.moc"
