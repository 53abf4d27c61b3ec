// The installed program as a desktop user meets it: started once, handed URLs by later
// starts, switched by the environment, quieted by do-not-disturb. Runs under a private
// X server and session bus (tests/support/session.sh).
#include "fakes/FakePolkitAuthority.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {

QProcessEnvironment appEnvironment(const TestEnv &env)
{
    QProcessEnvironment pe = QProcessEnvironment::systemEnvironment();
    pe.insert("QUILLMOTE_HOME", env.quillmoteHome());
    pe.insert("XDG_CONFIG_HOME", env.configHome());
    pe.insert("QUILLMOTE_BIN", "/nonexistent/quillmote"); // no state server gets spawned
    pe.insert("QUILLMOTE_WEB_PORT", "1");
    pe.insert("QUILLMOTE_LOG_PRIVATE", "0");
    return pe;
}

struct App {
    App(const TestEnv &env, const QStringList &args = {}, const QMap<QString, QString> &extra = {})
    {
        QProcessEnvironment pe = appEnvironment(env);
        for (auto it = extra.cbegin(); it != extra.cend(); ++it)
            pe.insert(it.key(), it.value());
        proc.setProcessEnvironment(pe);
        proc.start(QStringLiteral(QM_APP_BINARY), args);
    }
    ~App()
    {
        proc.terminate();
        if (!proc.waitForFinished(5000))
            proc.kill();
        proc.waitForFinished(2000);
    }
    QString log()
    {
        seen += QString::fromUtf8(proc.readAllStandardError());
        return seen;
    }
    bool waitFor(const QString &fragment, int timeoutMs = 10000)
    {
        return QTest::qWaitFor([&] { return log().contains(fragment); }, timeoutMs);
    }
    QProcess proc;
    QString seen;
};

// A second start of the program with one argument: it hands over and exits.
QString secondStart(const TestEnv &env, const QString &url, int *exitCode)
{
    QProcess p;
    p.setProcessEnvironment(appEnvironment(env));
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
        App app(env);
        QVERIFY2(app.waitFor("launched (menu-bar accessory)"), qPrintable(app.log()));
        QVERIFY(app.log().contains(
            "login-item: registered via XDG autostart " + env.configHome() + "/autostart/quillmote-notifier.desktop"));
        QVERIFY(QFile::exists(env.configHome() + "/autostart/quillmote-notifier.desktop"));
        QTRY_VERIFY(onBus("com.quillmote.Notifier"));

        const struct {
            const char *url;
            const char *line;
        } cases[] = {
            { "quillmote://conversation/x", "url-scheme: deep-link → opened + selected @x" },
            { "quillmote://open?conversation=y", "url-scheme: deep-link → opened + selected @y" },
            { "quillmote://open?sender=z", "url-scheme: open?sender=@z — legacy wakeup, no-op on receive" },
            { "quillmote://conversation/", "url-scheme: no conversation target in quillmote://conversation/" },
        };
        for (const auto &c : cases) {
            int code = -1;
            const QString second = secondStart(env, QString::fromLatin1(c.url), &code);
            QCOMPARE(code, 0);
            QVERIFY2(second.contains("another instance is running — handed over"), qPrintable(second));
            QVERIFY2(app.waitFor(QString::fromUtf8(c.line)), qPrintable(app.log()));
        }
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
        App again(env);
        QVERIFY(again.waitFor("login-item: turned off by the user (Hidden=true in "));
        QVERIFY(!again.log().contains("login-item: registered"));

        // So does one who deleted the entry the app had written.
        again.proc.terminate();
        QVERIFY(again.proc.waitForFinished(5000));
        QVERIFY(QFile::remove(entry.fileName()));
        App third(env);
        QVERIFY2(third.waitFor("launched (menu-bar accessory)"), qPrintable(third.log()));
        QVERIFY(third.log().contains("login-item: turned off by the user (" + entry.fileName() + " removed)"));
        QVERIFY(!QFile::exists(entry.fileName()));
    }

    void environmentSwitchesOpenWindowsInOrder()
    {
        TestEnv env;
        {
            App app(env, {}, { { "QUILLMOTE_OPEN_WINDOW", "1" }, { "QUILLMOTE_PREVIEW", "1" } });
            QVERIFY(app.waitFor("native-preview: controller created"));
            const QString log = app.log();
            QVERIFY(log.indexOf("launched (menu-bar accessory)") < log.indexOf("mainwindow: controller created"));
            QVERIFY(log.indexOf("mainwindow: controller created") < log.indexOf("native-preview: controller created"));
        }
        App other(env, {}, { { "QUILLMOTE_OPEN_WINDOW", "true" }, { "QUILLMOTE_PREVIEW", "yes" } });
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
        QDir().mkpath(env.configHome() + "/quillmote");
        QFile conf(env.configHome() + "/quillmote/notifier.conf");
        QVERIFY(conf.open(QIODevice::WriteOnly));
        conf.write("[General]\nquillmote.biometricGateEnabled=true\n");
        conf.close();
        QDBusConnection authorityBus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "authority");
        FakePolkitAuthority authority;
        QVERIFY(authority.registerOn(authorityBus));

        App app(env, {},
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

    void doNotDisturbDecidesUrgencyAndChime()
    {
        TestEnv env;
        QProcess dunst;
        dunst.start("dunst", { "-config", "/dev/null" });
        QVERIFY(QTest::qWaitFor([] { return onBus("org.freedesktop.Notifications"); }, 5000));
        QDir().mkpath(env.configHome() + "/quillmote");
        QFile conf(env.configHome() + "/quillmote/notifier.conf");
        QVERIFY(conf.open(QIODevice::WriteOnly));
        conf.write("[General]\nquillmote.focusFilterEnabled=true\nquillmote.focusFilter.breakthroughChoice=true\n");
        conf.close();

        // The monitor watches from the moment the bus confirms it (its own name is then
        // taken away); its output is kept whole, since a message may arrive in pieces.
        QByteArray monitored; // outlives the process, which may still report as it ends
        QProcess monitor;
        connect(&monitor, &QProcess::readyReadStandardOutput, &monitor,
            [&] { monitored += monitor.readAllStandardOutput(); });
        monitor.start("dbus-monitor", { "--session", "interface='org.freedesktop.Notifications',member='Notify'" });
        QVERIFY(QTest::qWaitFor([&] { return monitored.contains("member=NameLost"); }, 5000));
        App app(env, {}, { { "QT_LOGGING_RULES", "com.quillmote.notifier.*.debug=true" } });
        QVERIFY(app.waitFor("socket: listening at"));
        QProcess::execute("dunstctl", { "set-paused", "true" });
        QVERIFY2(app.waitFor("QuillmoteFocusFilter: enabled, recorded allowBreakthrough=true"), qPrintable(app.log()));

        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        terminal.write(R"({"type":"notify","sender":"alice","body":"urgent","msgId":"d1"})"
                       "\n");
        QVERIFY(app.waitFor("socket: onNotify d1"));
        QVERIFY2(QTest::qWaitFor(
                     [&] { return monitored.contains("\"urgency\"\n         variant             byte 2"); }, 10000),
            monitored.constData());
        QVERIFY(app.waitFor("notch: chime"));

        // The user lets do-not-disturb win: the next change records it; no chime any more.
        // Each change is waited for: dunst is also polled, and a poll could see only the end.
        conf.open(QIODevice::WriteOnly);
        conf.write("[General]\nquillmote.focusFilterEnabled=true\nquillmote.focusFilter.breakthroughChoice=false\n");
        conf.close();
        QProcess::execute("dunstctl", { "set-paused", "false" });
        QVERIFY(app.waitFor("do-not-disturb: off"));
        QProcess::execute("dunstctl", { "set-paused", "true" });
        QVERIFY(QTest::qWaitFor([&] { return app.log().count("do-not-disturb: on") == 2; }, 10000));
        QVERIFY(app.waitFor("recorded allowBreakthrough=false"));
        terminal.write(R"({"type":"notify","sender":"bob","body":"later","msgId":"d2"})"
                       "\n");
        QVERIFY(app.waitFor("notch: chime held back (do-not-disturb, no breakthrough)"));
        monitor.kill();
        dunst.terminate();
        dunst.waitForFinished(3000);
    }
};

QTEST_GUILESS_MAIN(TestAppEndToEnd)
#include "tst_appe2e.moc"
