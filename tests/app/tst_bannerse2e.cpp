// Messages through the real socket to a real notification server and back: dunst for
// what an ordinary desktop does, a server of the tests' own for inline replies.
// Runs under a private X server and session bus (tests/support/session.sh).
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
#include <QQuickWindow>
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

QList<MonitoredCall> notifyCalls(const QString &monitorOutput)
{
    QList<MonitoredCall> out;
    const QStringList blocks = monitorOutput.split(QStringLiteral("method call "));
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

        QProcess monitor;
        monitor.start(
            "dbus-monitor", { "type='method_call',interface='org.freedesktop.Notifications',member='Notify'" });
        QVERIFY(monitor.waitForStarted());
        QVERIFY(QTest::qWaitFor([&] { return monitor.bytesAvailable() > 0 || !monitor.peek(1).isEmpty(); }, 3000));
        QString monitored;
        auto calls = [&] {
            monitored += QString::fromUtf8(monitor.readAllStandardOutput());
            return notifyCalls(monitored);
        };

        AppController app;
        app.applicationDidFinishLaunching();
        QVERIFY2(log.waitFor("notifications: authorization granted"), qPrintable(log.dump()));
        QVERIFY(log.waitFor("socket: listening at"));

        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        QVERIFY(terminal.write(
            R"({"type":"notify","sender":"alice","title":"Build","body":"done","msgId":"m1","focused":true})"
            "\n"));
        QVERIFY2(QTest::qWaitFor([&] { return calls().size() == 1; }, 5000), qPrintable(monitored));
        QTRY_COMPARE_WITH_TIMEOUT(dunst.displayed(), 1, 5000);
        const QString first = calls().first().text;
        QCOMPARE(calls().first().replacesId, 0u);
        for (const char *expected : { "string \"@alice · Build\"", "string \"done\"", "string \"default\"",
                 "string \"QUILLMOTE_OPEN\"", "string \"QUILLMOTE_REPLY\"", "string \"回复\"", "string \"im.received\"",
                 "string \"quillmote-notifier\"", "string \"suppress-sound\"" })
            QVERIFY2(first.contains(QString::fromUtf8(expected)), expected);
        // Focused terminal, urgency mapping on by default: low urgency.
        QVERIFY(first.contains(QRegularExpression("string \"urgency\"\\s+variant\\s+byte 0")));
        QVERIFY(first.contains(QRegularExpression("string \"image-data\"\\s+variant\\s+struct \\{\\s+int32 64\\s+int32 "
                                                  "64\\s+int32 256\\s+boolean true\\s+int32 8"
                                                  "\\s+int32 4\\s+array of bytes")));
        QVERIFY(log.contains("comms-notif: enriched banner from @alice"));

        // The same message again replaces the banner instead of adding one.
        QVERIFY(terminal.write(R"({"type":"notify","sender":"alice","title":"Build","body":"done twice","msgId":"m1"})"
                               "\n"));
        QVERIFY(QTest::qWaitFor([&] { return calls().size() == 2; }, 5000));
        QVERIFY(calls()[1].replacesId != 0);
        QVERIFY(calls()[1].text.contains("string \"done twice\""));
        QVERIFY(calls()[1].text.contains(QRegularExpression("string \"urgency\"\\s+variant\\s+byte 1")));
        QTest::qWait(300);
        QCOMPARE(dunst.displayed(), 1);
        QCOMPARE(app.menuBar().unread(), 2);

        // What dunst does on a middle click: the default action, which opens and marks read.
        run("dunstctl", { "action", "0" });
        QVERIFY2(log.waitFor("menubar: markRead @alice unread=1"), qPrintable(log.dump()));
        QVERIFY(log.contains("url-scheme: open?sender=@alice — legacy wakeup, no-op on receive"));
        QVERIFY(app.menuBar().recents().first().read);
        monitor.terminate();
        monitor.waitForFinished(2000);
    }

    void inlineReplyReachesTheTerminal()
    {
        TestEnv env;
        env.set("QUILLMOTE_BIN", "/nonexistent/quillmote"); // the window opens below: no state server
        env.set("QUILLMOTE_WEB_PORT", "1");
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

        // Opening the banner shows the conversation, though no window was open.
        QVERIFY(!app.mainWindow());
        server.emitAction(call.id, "default");
        QTRY_VERIFY(app.mainWindow() && app.mainWindow()->window()->isVisible());
        QTRY_VERIFY(app.appState().selection() == DetailSelection::conversation("alice"));
        QCOMPARE(app.menuBar().unread(), 0);
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
};

QTEST_MAIN(TestBannersEndToEnd)
#include "tst_bannerse2e.moc"
