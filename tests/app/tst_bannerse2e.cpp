// Messages through the real socket to a real notification server and back: dunst for
// what an ordinary desktop does, a server of the tests' own for what a banner carries and
// for inline replies.
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

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
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

    // What the banner carries on the bus is the test server's part below; here an ordinary
    // server shows it, and its default action opens the conversation and marks it read.
    void dunstShowsAndOpens()
    {
        TestEnv env;
        LogCapture log;
        Dunst dunst;
        QVERIFY(dunst.up);

        AppController app;
        app.applicationDidFinishLaunching();
        QVERIFY2(log.waitFor("notifications: authorization granted"), qPrintable(log.dump()));
        QVERIFY(log.waitFor("socket: listening at"));

        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        QVERIFY(terminal.write(
            R"({"type":"notify","sender":"alice","title":"Build","body":"done","msgId":"m1","focused":true})"
            "\n"));
        QTRY_COMPARE_WITH_TIMEOUT(dunst.displayed(), 1, 5000);
        QVERIFY(log.contains("comms-notif: enriched banner from @alice"));
        QCOMPARE(app.menuBar().unread(), 1);

        // What dunst does on a middle click: the default action, which opens and marks read.
        run("dunstctl", { "action", "0" });
        QVERIFY2(log.waitFor("menubar: markRead @alice unread=0"), qPrintable(log.dump()));
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
        QCOMPARE(call.summary, QStringLiteral("Alice"));
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
};

QTEST_MAIN(TestBannersEndToEnd)
#include "tst_bannerse2e.moc"
