// The installed program as a desktop user meets it: started once, handed URLs by later
// starts, switched by the environment, asking the system to confirm a gated action. Runs
// under a private X server and session bus (tests/support/session.sh).
#include "AppProcess.h"
#include "fakes/FakePolkitAuthority.h"
#include "support/UnixClient.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {

// A second start of the program with one argument: it hands over and exits.
QString secondStart(const TestEnv &env, const QString &url, int *exitCode)
{
    QProcess p;
    p.setProcessEnvironment(AppProcess::environment(env));
    p.start(QStringLiteral(QM_APP_BINARY), { url });
    p.waitForFinished(10000);
    *exitCode = p.exitCode();
    return QString::fromUtf8(p.readAllStandardError());
}

bool onBus(const QString &name)
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(name);
}

} // namespace

class TestAppEndToEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(QDBusConnection::sessionBus().isConnected(), "needs session.sh's bus"); }

    void laterStartsHandTheirLinksOver()
    {
        TestEnv env;
        AppProcess app(env);
        QVERIFY2(app.waitFor("launched (menu-bar accessory)"), qPrintable(app.log()));
        QVERIFY(app.log().contains(
            "login-item: registered via XDG autostart " + env.configHome() + "/autostart/quillmote-notifier.desktop"));
        QVERIFY(QFile::exists(env.configHome() + "/autostart/quillmote-notifier.desktop"));
        QTRY_VERIFY(onBus("com.quillmote.Notifier"));

        // The forms of a link are read by DeepLink's own test; here, that they are handed over.
        for (const char *url :
            { "quillmote://conversation/x", "quillmote://open?sender=z", "quillmote://conversation/y" }) {
            int code = -1;
            const QString second = secondStart(env, url, &code);
            QCOMPARE(code, 0);
            QVERIFY2(second.contains("another instance is running — handed over"), qPrintable(second));
        }
        for (const char *line : { "opened + selected @x", "open?sender=@z — legacy wakeup", "opened + selected @y" })
            QVERIFY2(app.waitFor(line), qPrintable(app.log()));
        QCOMPARE(app.log().count("mainwindow: controller created"), 1); // made once, reused
        QVERIFY(!app.log().contains("opened + selected @z"));
        // A link opens the window as it is and then selects: no deep-link suffix.
        QVERIFY(app.log().contains("open: window foregrounded"));
        QVERIFY(!app.log().contains("focus deep-link"));

        // A user who turned the login item off keeps it off.
        QFile entry(env.configHome() + "/autostart/quillmote-notifier.desktop");
        QVERIFY(entry.open(QIODevice::Append));
        entry.write("Hidden=true\n");
        entry.close();
        app.proc.terminate();
        QVERIFY(app.proc.waitForFinished(5000));
        QCOMPARE(app.proc.exitCode(), 0);
        AppProcess again(env);
        QVERIFY(again.waitFor("login-item: turned off by the user (Hidden=true in "));
        QVERIFY(!again.log().contains("login-item: registered"));
    }

    void environmentSwitchesOpenWindowsInOrder()
    {
        TestEnv env;
        {
            AppProcess app(env, { { "QUILLMOTE_OPEN_WINDOW", "1" }, { "QUILLMOTE_PREVIEW", "1" } });
            QVERIFY(app.waitFor("native-preview: controller created"));
            const QString log = app.log();
            QVERIFY(log.indexOf("launched (menu-bar accessory)") < log.indexOf("mainwindow: controller created"));
            QVERIFY(log.indexOf("mainwindow: controller created") < log.indexOf("native-preview: controller created"));
        }
        AppProcess other(env, { { "QUILLMOTE_OPEN_WINDOW", "true" }, { "QUILLMOTE_PREVIEW", "yes" } });
        QVERIFY(other.waitFor("launched (menu-bar accessory)"));
        // The switches act on the first turn of the event loop; a link handed over by a
        // later start is served after it.
        int code = -1;
        secondStart(env, QStringLiteral("quillmote://open?sender=w"), &code);
        QVERIFY(other.waitFor("url-scheme: open?sender=@w"));
        QVERIFY(!other.log().contains("controller created"));
    }

    // The gate asks the system's polkit authority and no other: an authority that says yes
    // to everything, on the user's own session bus, is never asked, whatever the
    // environment says. Here there is no system bus, so the gate fails closed.
    void gateAsksOnlyTheSystemAuthority()
    {
        TestEnv env;
        QVERIFY(AppProcess::writeSettings(env, "quillmote.biometricGateEnabled=true\n"));
        QDBusConnection authorityBus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "authority");
        FakePolkitAuthority authority;
        QVERIFY(authority.registerOn(authorityBus));

        AppProcess app(env,
            { { "QUILLMOTE_POLKIT_BUS", "session" },
                { "DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + env.quillmoteHome() + "/no-system-bus" } });
        QVERIFY(app.waitFor("launched (menu-bar accessory)"));
        QTRY_VERIFY(onBus("com.quillmote.Notifier"));
        QDBusMessage call = QDBusMessage::createMethodCall(
            "com.quillmote.Notifier", "/com/quillmote/Notifier/Actions", "com.quillmote.Notifier.Actions", "Connect");
        call << QStringLiteral("zed");
        QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(call, 60000);

        // The user confirms with the pointer (keys would be held back for a moment).
        QProcess search;
        search.start("xdotool", { "search", "--sync", "--name", "^Quillmote$" });
        QVERIFY(QTest::qWaitFor([&] { return search.state() == QProcess::NotRunning; }, 20000));
        const QString window = QString::fromUtf8(search.readAllStandardOutput()).split('\n').first();
        QVERIFY2(!window.isEmpty(), qPrintable(app.log()));
        QProcess geometry;
        geometry.start("xdotool", { "getwindowgeometry", "--shell", window });
        QVERIFY(geometry.waitForFinished(5000));
        const QString shell = QString::fromUtf8(geometry.readAllStandardOutput());
        const auto number
            = [&](const QString &key) { return QRegularExpression(key + "=(\\d+)").match(shell).captured(1).toInt(); };
        // "继续" is the last button, in the bottom right corner inside the 20 px margin.
        const int x = number("WIDTH") - 32;
        const int y = number("HEIGHT") - 30;
        QProcess::execute(
            "xdotool", { "mousemove", "--window", window, QString::number(x), QString::number(y), "click", "1" });

        QVERIFY(QTest::qWaitFor([&] { return pending.isFinished(); }, 30000));
        const QDBusMessage reply = pending.reply();
        QVERIFY2(reply.type() == QDBusMessage::ReplyMessage, qPrintable(reply.errorMessage()));
        QCOMPARE(reply.arguments().value(0).toString(), QStringLiteral("已取消：未通过 Touch ID 验证。"));
        QCOMPARE(authority.actionId, QString());
        QVERIFY2(
            app.waitFor("BiometricGate: failed action=发起好友申请 error=polkit unavailable"), qPrintable(app.log()));
        authorityBus.unregisterService("org.freedesktop.PolicyKit1");
        QDBusConnection::disconnectFromBus("authority");
    }
};

QTEST_GUILESS_MAIN(TestAppEndToEnd)
#include "tst_appe2e.moc"
