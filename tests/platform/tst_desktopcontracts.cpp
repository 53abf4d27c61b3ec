// The desktop's small contracts: the platform the app picks from the session's variables,
// the XDG autostart entry and the user's say over it, and which KRunner queries offer
// which app shortcut.
#include "platform/KRunnerBridge.h"
#include "platform/SessionPlatform.h"
#include "platform/XdgAutostart.h"
#include "support/TestEnv.h"
#include "ui/PreferencesModel.h"

#include <QDir>
#include <QFile>
#include <QTest>

class TestDesktopContracts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void choosePlatform_data()
    {
        QTest::addColumn<QStringList>("vars");
        QTest::addColumn<QByteArray>("platform");
        QTest::newRow("X11") << QStringList { "DISPLAY=:1" } << QByteArray();
        QTest::newRow("Wayland with XWayland")
            << QStringList { "DISPLAY=:1", "WAYLAND_DISPLAY=wayland-0" } << QByteArray("xcb");
        QTest::newRow("Wayland session type with XWayland")
            << QStringList { "DISPLAY=:1", "XDG_SESSION_TYPE=wayland" } << QByteArray("xcb");
        QTest::newRow("Wayland without XWayland") << QStringList { "WAYLAND_DISPLAY=wayland-0" } << QByteArray();
        QTest::newRow("the user's choice wins")
            << QStringList { "DISPLAY=:1", "WAYLAND_DISPLAY=wayland-0", "QT_QPA_PLATFORM=wayland" } << QByteArray();
        QTest::newRow("no display") << QStringList {} << QByteArray("offscreen");
        QTest::newRow("no display, the user's choice wins") << QStringList { "QT_QPA_PLATFORM=vnc" } << QByteArray();
    }
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

    void respectsTheUsersChoice_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("why");
        using S = XdgAutostart::Status;
        QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nExec=x\nHidden=true\n") << int(S::turnedOffByUser)
                                << "Hidden=true";
        QTest::newRow("gnome switch off") << QByteArray("[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n")
                                          << int(S::turnedOffByUser) << "X-GNOME-Autostart-enabled=false";
        QTest::newRow("hidden=false is on") << QByteArray("[Desktop Entry]\nHidden=false\n") << int(S::enabled) << "";
        QTest::newRow("key in another group")
            << QByteArray("[Desktop Entry]\nExec=x\n[Desktop Action a]\nHidden=true\n") << int(S::enabled) << "";
    }

    void respectsTheUsersChoice()
    {
        QFETCH(QByteArray, entry);
        QFETCH(int, status);
        QFETCH(QString, why);
        TestEnv env;
        QVERIFY(QDir().mkpath(env.configHome() + "/autostart"));
        QFile f(XdgAutostart::entryPath());
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(entry);
        f.close();
        QString reason;
        QCOMPARE(int(XdgAutostart::status(&reason)), status);
        QCOMPARE(reason, why);
    }

    void phrasesOfferTheirShortcut_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("firstId"); // empty: no match
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *query, const char *firstId, int type, const char *text) {
            QTest::newRow(query) << QString(query) << QString(firstId) << type << QString(text);
        };
        row("用 Quillmote 发", "SendMessageIntent\n", 30, "发送消息");
        row("用 quillmote 发消息 alice 晚上 见", "SendMessageIntent\nalice 晚上 见", 100, "发送消息：alice 晚上 见");
        row("MY QUILLMOTE FRIENDS", "FriendsIntent\n", 100, "我的好友");
        row("reply with quillmotex", "", 0, ""); // the phrase run into a word
        row("用 ", "", 0, "");
        row("firefox", "", 0, "");
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
};

QTEST_GUILESS_MAIN(TestDesktopContracts)
#include "tst_desktopcontracts.moc"
