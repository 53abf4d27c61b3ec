// Messages through the real socket to a real notification server and back: dunst for
// what an ordinary desktop does (do-not-disturb included), a server of the tests' own for
// inline replies.
// Runs under a private X server and session bus (tests/support/session.sh).
#include "AppProcess.h"
#include "alerts/MenuBarController.h"
#include "alerts/MonogramAvatar.h"
#include "alerts/NotchController.h"
#include "alerts/NotificationController.h"
#include "app/AppController.h"
#include "core/SettingsStore.h"
#include "fakes/FakeNotificationServer.h"
#include "ipc/SocketServer.h"
#include "state/AppState.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"
#include "ui/MainWindowController.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");

bool serverOnBus()
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(kService);
}

QString run(const QString &program, const QStringList &args)
{
    QProcess p;
    p.start(program, args);
    p.waitForFinished(5000);
    return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
}

// One Notify call as dbus-monitor printed it.
struct MonitoredCall {
    QString text;
    quint32 replacesId = 0;
};

class Dunst
{
public:
    Dunst()
    {
        proc.start(QStringLiteral("dunst"), { QStringLiteral("-config"), QStringLiteral("/dev/null") });
        up = QTest::qWaitFor(serverOnBus, 5000);
    }
    ~Dunst()
    {
        proc.terminate();
        if (!proc.waitForFinished(3000))
            proc.kill();
        (void)QTest::qWaitFor([] { return !serverOnBus(); }, 3000);
    }
    int displayed() const { return run("dunstctl", { "count", "displayed" }).toInt(); }
    QProcess proc;
    bool up = false;
};

// dbus-monitor watching Notify calls from the moment the bus confirms it (its own name is
// then taken away); the output is kept whole, since a call may arrive in pieces.
struct NotifyMonitor {
    NotifyMonitor()
    {
        QObject::connect(
            &proc, &QProcess::readyReadStandardOutput, &proc, [this] { text += proc.readAllStandardOutput(); });
        proc.start("dbus-monitor", { "--session", "interface='org.freedesktop.Notifications',member='Notify'" });
        up = QTest::qWaitFor([this] { return text.contains("member=NameLost"); }, 5000);
    }
    ~NotifyMonitor() { proc.kill(); }
    QList<MonitoredCall> calls() const
    {
        QList<MonitoredCall> out;
        const QStringList blocks = QString::fromUtf8(text).split(QStringLiteral("method call "));
        static const QRegularExpression replaces(QStringLiteral("string \"Quillmote Notifier\"\\s+uint32 (\\d+)"));
        for (const QString &b : blocks) {
            // dbus-monitor prints a call in pieces; the expiry timeout is its last argument.
            if (!b.contains(QStringLiteral("member=Notify")) || !b.trimmed().endsWith(QStringLiteral("int32 -1")))
                continue;
            const auto m = replaces.match(b);
            out.append({ b, m.hasMatch() ? m.captured(1).toUInt() : 0 });
        }
        return out;
    }
    QByteArray text; // outlives the process, which may still report as it ends
    QProcess proc;
    bool up = false;
};

} // namespace

class TestBannersEndToEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::sessionBus().isConnected(), "needs the private session bus of session.sh");
        QVERIFY(!serverOnBus());
    }

    void dunstShowsReplacesAndOpens()
    {
        TestEnv env;
        LogCapture log;
        Dunst dunst;
        QVERIFY(dunst.up);

        NotifyMonitor monitor;
        QVERIFY(monitor.up);
        AppController app;
        app.applicationDidFinishLaunching();
        QVERIFY2(log.waitFor("notifications: authorization granted"), qPrintable(log.dump()));
        QVERIFY(log.waitFor("socket: listening at"));

        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        QVERIFY(terminal.write(
            R"({"type":"notify","sender":"alice","title":"Build","body":"done","msgId":"m1","focused":true})"
            "\n"));
        QVERIFY2(QTest::qWaitFor([&] { return monitor.calls().size() == 1; }, 5000), monitor.text.constData());
        QTRY_COMPARE_WITH_TIMEOUT(dunst.displayed(), 1, 5000);
        const QString first = monitor.calls().first().text;
        QCOMPARE(monitor.calls().first().replacesId, 0u);
        // The hints and the avatar are read whole in the inline-reply test below.
        QVERIFY(first.contains("string \"@alice · Build\"") && first.contains("string \"QUILLMOTE_REPLY\""));
        // Focused terminal, urgency mapping on by default: low urgency.
        QVERIFY(first.contains(QRegularExpression("string \"urgency\"\\s+variant\\s+byte 0")));
        QVERIFY(log.contains("comms-notif: enriched banner from @alice"));

        // The same message again replaces the banner instead of adding one.
        QVERIFY(terminal.write(R"({"type":"notify","sender":"alice","title":"Build","body":"done twice","msgId":"m1"})"
                               "\n"));
        QVERIFY(QTest::qWaitFor([&] { return monitor.calls().size() == 2; }, 5000));
        QVERIFY(monitor.calls()[1].replacesId != 0);
        QVERIFY(monitor.calls()[1].text.contains("string \"done twice\""));
        QVERIFY(monitor.calls()[1].text.contains(QRegularExpression("string \"urgency\"\\s+variant\\s+byte 1")));
        QTest::qWait(300);
        QCOMPARE(dunst.displayed(), 1);
        QCOMPARE(app.menuBar().unread(), 2);

        // What dunst does on a middle click: the default action, which opens and marks read.
        run("dunstctl", { "action", "0" });
        QVERIFY2(log.waitFor("menubar: markRead @alice unread=1"), qPrintable(log.dump()));
        QVERIFY(log.contains("url-scheme: open?sender=@alice — legacy wakeup, no-op on receive"));
        QVERIFY(app.menuBar().recents().first().read);
    }

    void inlineReplyReachesTheTerminal()
    {
        TestEnv env;
        LogCapture log;
        FakeNotificationServer server({ "actions", "body", "inline-reply" });
        QVERIFY(server.start());

        AppController app;
        app.applicationDidFinishLaunching();
        QVERIFY(log.waitFor("notifications: authorization granted"));
        QVERIFY(log.waitFor("socket: listening at"));
        QVERIFY(app.notifications().hasInlineReply());

        QProcess sim;
        sim.start("node",
            { simPath(), "notify", "--sender", "alice", "--title", "Alice", "--body", "在哪", "--msg-id", "m1",
                "--listen" });
        QVERIFY(QTest::qWaitFor([&] { return server.calls.size() == 1; }, 5000));
        const FakeNotificationServer::Call call = server.calls.first();
        QCOMPARE(call.appName, QStringLiteral("Quillmote Notifier"));
        QCOMPARE(call.summary, QStringLiteral("@alice · Alice"));
        QCOMPARE(call.body, QStringLiteral("在哪"));
        QCOMPARE(call.actions, (QStringList { "default", "打开", "QUILLMOTE_OPEN", "打开", "inline-reply", "回复" }));
        QCOMPARE(call.hints.value("x-kde-reply-placeholder-text").toString(), QStringLiteral("输入回复…"));
        QCOMPARE(call.hints.value("urgency").metaType(), QMetaType::fromType<uchar>());
        QCOMPARE(call.hints.value("urgency").value<uchar>(), uchar(1));
        QCOMPARE(call.hints.value("suppress-sound").toBool(), true);
        QCOMPARE(call.hints.value("category").toString(), QStringLiteral("im.received"));
        QCOMPARE(call.hints.value("desktop-entry").toString(), QStringLiteral("quillmote-notifier"));
        const QImage avatar = call.hints.value("image-data").value<QImage>();
        QVERIFY2(!avatar.isNull(), qPrintable(call.hints.value("image-data").toString()));
        QCOMPARE(avatar, MonogramAvatar::image("alice", 64).convertToFormat(QImage::Format_RGBA8888));

        server.emitReplied(call.id, "  马上到 \n");
        QVERIFY(QTest::qWaitFor([&] { return sim.canReadLine(); }, 5000));
        QCOMPARE(
            sim.readLine().trimmed(), QByteArray(R"({"type":"reply","sender":"alice","text":"马上到","msgId":"m1"})"));
        QVERIFY(log.waitFor("reply → CLI: @alice \"<private>\" msgId=m1 delivered=true"));
        QCOMPARE(log.find("reply → CLI").category, QStringLiteral("reply"));
        QVERIFY(QTest::qWaitFor([&] { return server.calls.size() == 2; }, 5000));
        QCOMPARE(server.calls[1].replacesId, call.id);
        QCOMPARE(server.calls[1].body, QStringLiteral("已回复 ✓"));

        // With no terminal left, the reply goes nowhere and the banner keeps the text.
        sim.terminate();
        QVERIFY(sim.waitForFinished(3000));
        QVERIFY(QTest::qWaitFor([&] { return app.socket().clientCount() == 0; }, 5000));
        server.emitReplied(call.id, "还在吗");
        QVERIFY(log.waitFor("reply → CLI: @alice \"<private>\" msgId=m1 delivered=false"));
        QVERIFY(QTest::qWaitFor([&] { return server.calls.size() == 3; }, 5000));
        QCOMPARE(server.calls[2].replacesId, call.id);
        QCOMPARE(server.calls[2].body, QStringLiteral("终端未连接，未发送\n还在吗"));
        QVERIFY(server.calls[2].actions.contains("inline-reply"));

        // An empty reply sends nothing.
        server.emitReplied(call.id, "   ");
        QVERIFY(log.waitFor("reply: empty text from alice"));
        QCOMPARE(log.count("reply → CLI"), 2);
    }

    void profileSwitchPlainServerQuietModeReplyActionAndAServerThatReturns()
    {
        TestEnv env;
        LogCapture log;
        // With no server at all the bus would start one by activation; so the test begins
        // with a server of its own (no inline reply, like dunst) and replaces it by another.
        FakeNotificationServer first({ "actions", "body" }, "fake-first");
        QVERIFY(first.start());
        SettingsStore::setFlag(SettingsStore::Key::quietWhenFocused, true);
        env.set("QUILLMOTE_OPEN_PROFILE", "1");
        env.set("QUILLMOTE_BIN", "/nonexistent/quillmote");
        env.set("QUILLMOTE_WEB_PORT", "1");
        AppController app;
        app.applicationDidFinishLaunching();
        QVERIFY(log.waitFor("notifications: authorization granted"));
        QVERIFY(log.waitFor("socket: listening at"));
        QVERIFY(!app.notifications().hasInlineReply());
        QTRY_VERIFY(app.mainWindow() && app.appState().selection() == DetailSelection::profile());

        // Quiet mode keeps the focused terminal's banner away; both messages are counted.
        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        QVERIFY(terminal.write(R"({"type":"notify","sender":"bob","body":"quiet","focused":true})"
                               "\n"
                               R"({"type":"notify","sender":"carol","body":"loud","msgId":"c1","focused":false})"
                               "\n"));
        QVERIFY(QTest::qWaitFor([&] { return first.calls.size() == 1; }, 5000));
        QCOMPARE(first.calls.first().body, QStringLiteral("loud"));
        QCOMPARE(log.count("focus-quiet: terminal focused + quiet mode on → notch pulse only (no banner)"), 1);
        QCOMPARE(app.menuBar().unread(), 2);

        // Without inline reply, the banner's reply action opens the overlay's reply field.
        QVERIFY(first.calls.first().actions.contains("QUILLMOTE_REPLY"));
        first.emitAction(first.calls.first().id, "QUILLMOTE_REPLY");
        QVERIFY2(QTest::qWaitFor([&] { return app.notch().pinned(); }, 5000), qPrintable(log.dump()));

        first.stop();
        QVERIFY(log.waitFor("notifications: server left the bus — banners disabled until it returns"));
        QVERIFY(!app.notifications().isEnabled());
        FakeNotificationServer second({ "actions", "body", "inline-reply" }, "fake-second");
        QVERIFY(second.start());
        QVERIFY(log.waitFor("notifications: authorization granted", 5000, 2));
        QVERIFY2(app.notifications().hasInlineReply(), qPrintable(log.dump()));
        QVERIFY(terminal.write(R"({"type":"notify","sender":"bob","body":"hi"})"
                               "\n"));
        QVERIFY(QTest::qWaitFor([&] { return second.calls.size() == 1; }, 5000));
        QCOMPARE(second.calls.first().summary, QStringLiteral("@bob"));
        QCOMPARE(first.calls.size(), 1);
    }

    // The app as a process, its debug lines on: do-not-disturb with and without a recorded
    // breakthrough.
    void doNotDisturbDecidesUrgencyAndChime()
    {
        TestEnv env;
        Dunst dunst;
        QVERIFY(dunst.up);
        QVERIFY(AppProcess::writeSettings(
            env, "quillmote.focusFilterEnabled=true\nquillmote.focusFilter.breakthroughChoice=true\n"));
        NotifyMonitor monitor;
        QVERIFY(monitor.up);
        AppProcess app(env, { { "QT_LOGGING_RULES", "com.quillmote.notifier.*.debug=true" } });
        QVERIFY(app.waitFor("socket: listening at"));
        QProcess::execute("dunstctl", { "set-paused", "true" });
        QVERIFY2(app.waitFor("QuillmoteFocusFilter: enabled, recorded allowBreakthrough=true"), qPrintable(app.log()));

        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        terminal.write(R"({"type":"notify","sender":"alice","body":"urgent","msgId":"d1"})"
                       "\n");
        QVERIFY(app.waitFor("socket: onNotify d1"));
        QVERIFY2(QTest::qWaitFor(
                     [&] { return monitor.text.contains("\"urgency\"\n         variant             byte 2"); }, 10000),
            monitor.text.constData());
        QVERIFY(app.waitFor("notch: chime"));

        // The user lets do-not-disturb win: the next change records it; no chime any more.
        // Each change is waited for: dunst is also polled, and a poll could see only the end.
        QVERIFY(AppProcess::writeSettings(
            env, "quillmote.focusFilterEnabled=true\nquillmote.focusFilter.breakthroughChoice=false\n"));
        QProcess::execute("dunstctl", { "set-paused", "false" });
        QVERIFY(app.waitFor("do-not-disturb: off"));
        QProcess::execute("dunstctl", { "set-paused", "true" });
        QVERIFY(QTest::qWaitFor([&] { return app.log().count("do-not-disturb: on") == 2; }, 10000));
        QVERIFY(app.waitFor("recorded allowBreakthrough=false"));
        terminal.write(R"({"type":"notify","sender":"bob","body":"later","msgId":"d2"})"
                       "\n");
        QVERIFY(app.waitFor("notch: chime held back (do-not-disturb, no breakthrough)"));
    }
};

QTEST_MAIN(TestBannersEndToEnd)
#include "tst_bannerse2e.moc"
