// The app on a desktop: messages through the real socket to a real notification server and
// back (dunst for what an ordinary desktop does, do-not-disturb included; a server of the
// tests' own for inline replies); the installed program started once, handed links by
// later starts, asking the system to confirm a gated action; the tray under a real host.
// Runs under a private X server and session bus (tests/support/session.sh). Set
// QM_SCREENSHOT_DIR to keep the screenshots (docs/screenshots holds the last ones).
#include "AppProcess.h"
#include "alerts/MenuBarController.h"
#include "alerts/MonogramAvatar.h"
#include "alerts/NotchController.h"
#include "alerts/NotificationController.h"
#include "app/AppController.h"
#include "core/SettingsStore.h"
#include "fakes/FakeNotificationServer.h"
#include "fakes/FakePolkitAuthority.h"
#include "ipc/SocketServer.h"
#include "platform/SystemTray.h"
#include "state/AppState.h"
#include "support/LogCapture.h"
#include "support/Programs.h"
#include "support/RequestRecorder.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"
#include "ui/MainWindowController.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QProcess>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTest>

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");

bool onBus(const QString &name)
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(name);
}

bool serverOnBus()
{
    return onBus(kService);
}

QString gdbus(const QStringList &args)
{
    return runTool("gdbus", QStringList { "call", "--session" } + args);
}
QString watcherProperty(const QString &name)
{
    return gdbus({ "-d", "org.kde.StatusNotifierWatcher", "-o", "/StatusNotifierWatcher", "-m",
        "org.freedesktop.DBus.Properties.Get", "org.kde.StatusNotifierWatcher", name });
}

QString layoutOf(const QString &service, const QString &menuPath)
{
    return gdbus({ "-d", service, "-o", menuPath, "-m", "com.canonical.dbusmenu.GetLayout", "--", "0", "-1", "[]" });
}

// The dbusmenu id of the row with this label in a GetLayout answer, or -1.
int idOfRow(const QString &layout, const QString &label)
{
    static const QRegularExpression itemRe(R"(\((\d+), \{([^{}]*)\})");
    for (auto it = itemRe.globalMatch(layout); it.hasNext();) {
        const auto m = it.next();
        if (m.captured(2).contains("'label': <'" + label + "'>"))
            return m.captured(1).toInt();
    }
    return -1;
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
        stopProcess(proc);
        (void)QTest::qWaitFor([] { return !serverOnBus(); }, 3000);
    }
    int displayed() const { return runTool("dunstctl", { "count", "displayed" }).toInt(); }
    QProcess proc;
    bool up = false;
};

// dbus-monitor watching Notify calls from the moment the bus confirms it (its own name is
// then taken away).
struct NotifyMonitor {
    NotifyMonitor()
    {
        QObject::connect(
            &proc, &QProcess::readyReadStandardOutput, &proc, [this] { text += proc.readAllStandardOutput(); });
        proc.start("dbus-monitor", { "--session", "interface='org.freedesktop.Notifications',member='Notify'" });
        up = QTest::qWaitFor([this] { return text.contains("member=NameLost"); }, 5000);
    }
    ~NotifyMonitor() { proc.kill(); }
    // How many Notify calls so far asked for this urgency.
    qsizetype urgency(int level) const
    {
        return QString::fromUtf8(text).count(
            QRegularExpression(QStringLiteral("string \"urgency\"\\s+variant\\s+byte %1").arg(level)));
    }
    QByteArray text; // outlives the process, which may still report as it ends
    QProcess proc;
    bool up = false;
};

// openbox and xfce4-panel, whose systray is a StatusNotifierItem host.
struct Panel {
    Panel()
    {
        // xfconfd is started by the bus with the bus's XDG_CONFIG_HOME, the one set here.
        const QString channels = qEnvironmentVariable("XDG_CONFIG_HOME") + "/xfce4/xfconf/xfce-perchannel-xml";
        QDir().mkpath(channels);
        QFile::copy(sourceDir() + "/tests/data/xfce4-panel.xml", channels + "/xfce4-panel.xml");
        wm.start("openbox", {});
        panel.start("xfce4-panel", {});
        up = QTest::qWaitFor([] { return watcherProperty("IsStatusNotifierHostRegistered").contains("true"); }, 15000);
    }
    ~Panel()
    {
        stopProcess(panel);
        stopProcess(wm);
    }
    QProcess wm;
    QProcess panel;
    bool up = false;
};

} // namespace

class TestAppEndToEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(QDBusConnection::sessionBus().isConnected(), "needs the private session bus of session.sh");
        QVERIFY(!serverOnBus());
        // Qt decides once per process whether the tray talks to a StatusNotifierItem host.
        m_panel = std::make_unique<Panel>();
        QVERIFY2(m_panel->up, "xfce4-panel registered no StatusNotifierItem host");
    }
    void cleanupTestCase() { m_panel.reset(); }

    void profileQuietModeReplyActionAndAServerThatReturnsWithInlineReply()
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

        // The server leaves; another, with inline reply, takes its place.
        first.stop();
        QVERIFY(log.waitFor("notifications: server left the bus — banners disabled until it returns"));
        QVERIFY(!app.notifications().isEnabled());
        FakeNotificationServer second({ "actions", "body", "inline-reply" }, "fake-second");
        QVERIFY(second.start());
        QVERIFY(log.waitFor("notifications: authorization granted", 5000, 2));
        QVERIFY2(app.notifications().hasInlineReply(), qPrintable(log.dump()));
        terminal.close(); // the reply below goes to the stand-in tool alone

        QProcess sim;
        sim.start("node",
            { simPath(), "notify", "--sender", "alice", "--title", "Alice", "--body", "在哪", "--msg-id", "m1",
                "--listen" });
        QVERIFY(QTest::qWaitFor([&] { return second.calls.size() == 1; }, 5000));
        const FakeNotificationServer::Call call = second.calls.first();
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

        second.emitReplied(call.id, "  马上到 \n");
        QVERIFY(QTest::qWaitFor([&] { return sim.canReadLine(); }, 5000));
        QCOMPARE(
            sim.readLine().trimmed(), QByteArray(R"({"type":"reply","sender":"alice","text":"马上到","msgId":"m1"})"));
        QVERIFY(log.waitFor("reply → CLI: @alice \"<private>\" msgId=m1 delivered=true"));
        QCOMPARE(log.find("reply → CLI").category, QStringLiteral("reply"));
        QVERIFY(QTest::qWaitFor([&] { return second.calls.size() == 2; }, 5000));
        QCOMPARE(second.calls[1].replacesId, call.id);
        QCOMPARE(second.calls[1].body, QStringLiteral("已回复 ✓"));

        // With no terminal left, the reply goes nowhere and the banner keeps the text.
        sim.terminate();
        QVERIFY(sim.waitForFinished(3000));
        QVERIFY(QTest::qWaitFor([&] { return app.socket().clientCount() == 0; }, 5000));
        second.emitReplied(call.id, "还在吗");
        QVERIFY(log.waitFor("reply → CLI: @alice \"<private>\" msgId=m1 delivered=false"));
        QVERIFY(QTest::qWaitFor([&] { return second.calls.size() == 3; }, 5000));
        QCOMPARE(second.calls[2].replacesId, call.id);
        QCOMPARE(second.calls[2].body, QStringLiteral("终端未连接，未发送\n还在吗"));
        QVERIFY(second.calls[2].actions.contains("inline-reply"));

        // An empty reply sends nothing.
        second.emitReplied(call.id, "   ");
        QVERIFY(log.waitFor("reply: empty text from alice"));
        QCOMPARE(log.count("reply → CLI"), 2);
    }

    // The app as a process under dunst, its debug lines on: a banner, its replacement, the
    // default action; then do-not-disturb with and without a recorded breakthrough.
    void dunstShowsReplacesOpensAndFollowsDoNotDisturb()
    {
        TestEnv env;
        Dunst dunst;
        QVERIFY(dunst.up);
        QVERIFY(AppProcess::writeSettings(
            env, "quillmote.focusFilterEnabled=true\nquillmote.focusFilter.breakthroughChoice=true\n"));
        NotifyMonitor monitor;
        QVERIFY(monitor.up);
        AppProcess app(env, { { "QT_LOGGING_RULES", "com.quillmote.notifier.*.debug=true" } });
        QVERIFY2(app.waitFor("socket: listening at"), qPrintable(app.log()));
        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        QVERIFY(terminal.write(
            R"({"type":"notify","sender":"alice","title":"Build","body":"done","msgId":"m1","focused":true})"
            "\n"));
        // Focused terminal, urgency mapping on by default: low urgency.
        QVERIFY2(QTest::qWaitFor([&] { return monitor.urgency(0) == 1; }, 5000), monitor.text.constData());
        QTRY_COMPARE_WITH_TIMEOUT(dunst.displayed(), 1, 5000);
        QVERIFY2(app.waitFor("comms-notif: enriched banner from @alice"), qPrintable(app.log()));

        // The same message again replaces the banner instead of adding one: once another
        // message shows, two are on screen.
        QVERIFY(terminal.write(R"({"type":"notify","sender":"alice","title":"Build","body":"done twice","msgId":"m1"})"
                               "\n"
                               R"({"type":"notify","sender":"alice","body":"more","msgId":"m2"})"
                               "\n"));
        QVERIFY(QTest::qWaitFor([&] { return monitor.urgency(1) == 2; }, 5000));
        QTRY_COMPARE_WITH_TIMEOUT(dunst.displayed(), 2, 5000);

        // What dunst does on a middle click: the default action, which opens and marks read.
        runTool("dunstctl", { "action", "0" });
        QVERIFY2(app.waitFor("menubar: markRead @alice unread=2"), qPrintable(app.log()));
        QVERIFY2(
            app.waitFor("url-scheme: open?sender=@alice — legacy wakeup, no-op on receive"), qPrintable(app.log()));

        QProcess::execute("dunstctl", { "set-paused", "true" });
        QVERIFY2(app.waitFor("QuillmoteFocusFilter: enabled, recorded allowBreakthrough=true"), qPrintable(app.log()));
        terminal.write(R"({"type":"notify","sender":"alice","body":"urgent","msgId":"d1"})"
                       "\n");
        QVERIFY2(QTest::qWaitFor([&] { return monitor.urgency(2) == 1; }, 10000), monitor.text.constData());

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
        // Held back for bob only: alice's message broke through.
        QVERIFY(app.waitFor("notch: chime held back (do-not-disturb, no breakthrough)"));
        QCOMPARE(app.log().count("notch: chime held back"), 1);
    }

    // The tray icon under a real StatusNotifierItem host: the exported menu as the host
    // reads it, and the icon with avatar and badge.
    void hostReadsTheMenuAndTheIconShowsTheBadge()
    {
        TestEnv env;
        env.set("QUILLMOTE_BIN", "/nonexistent/quillmote"); // the window opens below: no state server
        env.set("QUILLMOTE_WEB_PORT", "1");
        LogCapture log;
        AppController app;
        app.applicationDidFinishLaunching();
        QVERIFY2(log.waitFor("menubar: tray icon shown"), qPrintable(log.dump()));
        QVERIFY(log.waitFor("socket: listening at"));

        RequestRecorder web;
        QVERIFY(web.listen());
        UnixClient terminal;
        QVERIFY(terminal.connectTo(env.socketPath()));
        const QJsonObject markup { { "type", "notify" }, { "sender", "eve" },
            { "title", QStringLiteral("<img src=\"%1\">").arg(web.url("/tray")) }, { "body", "<b>hi</b>" } };
        QVERIFY(terminal.write(QJsonDocument(markup).toJson(QJsonDocument::Compact) + '\n'));
        QVERIFY(terminal.write(R"({"type":"notify","sender":"bob","body":"早上好"})"
                               "\n"
                               R"({"type":"notify","sender":"carol","title":"Build","body":"done & dusted"})"
                               "\n"
                               R"({"type":"notify","sender":"ada lovelace","body":"新的想法"})"
                               "\n"));
        QVERIFY(log.waitFor("menubar: add @ada lovelace unread=4"));

        // The item the host knows about, and the menu it exports.
        QString items;
        QVERIFY(QTest::qWaitFor(
            [&] { return (items = watcherProperty("RegisteredStatusNotifierItems")).contains("/"); }, 10000));
        const QRegularExpression itemRe("'([^'/]+)(/[^']*)'");
        const auto m = itemRe.match(items);
        QVERIFY2(m.hasMatch(), qPrintable(items));
        const QString service = m.captured(1);
        const QString itemPath = m.captured(2);
        const QString menuProp = gdbus({ "-d", service, "-o", itemPath, "-m", "org.freedesktop.DBus.Properties.Get",
            "org.kde.StatusNotifierItem", "Menu" });
        const auto pm = QRegularExpression("objectpath '([^']+)'").match(menuProp);
        QVERIFY2(pm.hasMatch(), qPrintable(menuProp));

        QString layout;
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         layout = layoutOf(service, pm.captured(1));
                         return layout.contains("4 条未读");
                     },
                     5000),
            qPrintable(layout));
        // Rows in order, as the host reads them (Qt writes a literal "&" as "_&" in dbusmenu labels).
        const QStringList rows { "最近消息 · 4 条未读", "● @ada lovelace — 新的想法 · 刚刚",
            "● Build — done _& dusted · 刚刚", "● @bob — 早上好 · 刚刚",
            QStringLiteral("● <img src=\"%1\"> — <b>hi</b> · 刚刚").arg(web.url("/tray")), "清除全部", "快捷开关",
            "通知", "聚焦终端时安静", "好友身份通知 + 头像", "紧迫度自适应", "权限与高级（默认关）", "按好友配专注打断",
            "敏感操作需 Touch ID", "打开 Quillmote", "偏好设置…", "退出 Quillmote" };
        qsizetype at = 0;
        for (const QString &row : rows) {
            const qsizetype found = layout.indexOf("'" + row + "'", at);
            QVERIFY2(found > at, qPrintable(row + " in " + layout));
            at = found;
        }
        QVERIFY(layout.contains("'toggle-type': <'checkmark'>"));

        // With unread mail and nothing happening the icon pulses, and the menu holds still:
        // the host is not told to re-read it, and its rows keep their ids.
        QProcess monitor;
        monitor.start("dbus-monitor", { "--session", "type='signal',interface='com.canonical.dbusmenu'" });
        QVERIFY(monitor.waitForStarted());
        QVERIFY(QTest::qWaitFor([&] { return monitor.bytesAvailable() > 0; }, 5000)); // subscribed
        const int buildRow = idOfRow(layout, "● Build — done _& dusted · 刚刚");
        QVERIFY2(buildRow > 0, qPrintable(layout));
        QVERIFY(app.menuBar().isPulsing());
        QTest::qWait(6000); // an observation window, not a wait for a state
        monitor.terminate();
        QVERIFY(monitor.waitForFinished(3000));
        const QString signalsSeen = QString::fromUtf8(monitor.readAll());
        QVERIFY2(signalsSeen.count("member=LayoutUpdated") <= 2, qPrintable(signalsSeen));
        QVERIFY2(signalsSeen.count("member=ItemsPropertiesUpdated") <= 2, qPrintable(signalsSeen));
        QCOMPARE(idOfRow(layoutOf(service, pm.captured(1)), "● Build — done _& dusted · 刚刚"), buildRow);

        // A click on that row, sent the way a host sends it, shows that conversation in a
        // window that was not open.
        QVERIFY(!app.mainWindow());
        gdbus({ "-d", service, "-o", pm.captured(1), "-m", "com.canonical.dbusmenu.Event", "--",
            QString::number(buildRow), "clicked", "<0>", "0" });
        QVERIFY2(log.waitFor("open?sender=@carol"), qPrintable(log.dump()));
        QTRY_VERIFY(app.mainWindow() && app.mainWindow()->window()->isVisible());
        QTRY_VERIFY(app.appState().selection() == DetailSelection::conversation("carol"));
        QCOMPARE(app.menuBar().unread(), 3); // reading carol's conversation read her tray item

        // The icon the host shows: avatar with badge (full step of the pulse).
        const QImage icon = SystemTray::drawIcon({ "ada lovelace", 3, false });
        QCOMPARE(icon.pixelColor(32, 32).alpha(), 255);
        keepPicture("tray-icon-avatar-badge.png", [&] { return icon; });
        QScreen *screen = QGuiApplication::primaryScreen();
        keepPicture( // once the panel has drawn the newest icon
            "tray-panel.png", [&] { return screen->grabWindow(0, 0, 0, 240, 32).toImage().scaled(480, 64); }, 1500);

        app.tray().menu()->popup(QPoint(8, 34));
        QVERIFY(QTest::qWaitForWindowExposed(app.tray().menu()));
        keepPicture(
            "tray-menu.png", [&] { return screen->grabWindow(0, 0, 0, 520, 480).toImage(); }, 300);
        app.tray().menu()->hide();
        // Neither the menu, nor the overlay, nor the banner fetched the title's picture.
        QCOMPARE(web.connections, 0);

        app.menuBar().clearAll();
        QVERIFY(QTest::qWaitFor([&] { return layoutOf(service, pm.captured(1)).contains("最近消息 · 无未读"); }, 5000));
    }

    // Last: with no notification server on the bus, the bus may start one.
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
            AppProcess second(env, {}, { url });
            QVERIFY(second.proc.waitForFinished(10000) && second.proc.exitCode() == 0);
            QVERIFY2(second.log().contains("another instance is running — handed over"), qPrintable(second.log()));
        }
        for (const char *line : { "opened + selected @x", "open?sender=@z — legacy wakeup", "opened + selected @y" })
            QVERIFY2(app.waitFor(line), qPrintable(app.log()));
        QCOMPARE(app.log().count("mainwindow: controller created"), 1); // made once, reused
        QVERIFY(!app.log().contains("opened + selected @z"));
        // A link opens the window as it is and then selects: no deep-link suffix.
        QVERIFY(app.log().contains("open: window foregrounded"));
        QVERIFY(!app.log().contains("focus deep-link"));
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
        const QString window = runTool("xdotool", { "search", "--sync", "--name", "^Quillmote$" }, 20000);
        QVERIFY2(!window.isEmpty() && !window.contains('\n'), qPrintable(window + app.log()));
        const QString shell = runTool("xdotool", { "getwindowgeometry", "--shell", window });
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

private:
    std::unique_ptr<Panel> m_panel;
};

QTEST_MAIN(TestAppEndToEnd)
#include "tst_appe2e.moc"
