// The tray icon under a real StatusNotifierItem host (xfce4-panel's systray on openbox):
// the exported menu as the host reads it, and the icon with avatar and badge.
// Set QM_SCREENSHOT_DIR to keep the screenshots (docs/screenshots holds the last ones).
#include "alerts/MenuBarController.h"
#include "app/AppController.h"
#include "platform/SystemTray.h"
#include "state/AppState.h"
#include "support/LogCapture.h"
#include "support/RequestRecorder.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"
#include "ui/MainWindowController.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
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

// gdbus, run without blocking the event loop (the item being asked lives in this process).
QString gdbus(const QStringList &args)
{
    QProcess p;
    p.start("gdbus", QStringList { "call", "--session" } + args);
    if (!QTest::qWaitFor([&] { return p.state() == QProcess::NotRunning; }, 5000))
        p.kill();
    return QString::fromUtf8(p.readAllStandardOutput()) + QString::fromUtf8(p.readAllStandardError());
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

void keep(const QImage &image, const QString &name)
{
    const QString dir = qEnvironmentVariable("QM_SCREENSHOT_DIR");
    if (dir.isEmpty())
        return;
    QDir().mkpath(dir);
    QVERIFY(image.save(dir + '/' + name));
}

} // namespace

class TestTrayEndToEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        // xfconfd is started by the bus with the bus's XDG_CONFIG_HOME, the one set here.
        const QString channels = qEnvironmentVariable("XDG_CONFIG_HOME") + "/xfce4/xfconf/xfce-perchannel-xml";
        QVERIFY(QDir().mkpath(channels));
        QVERIFY(QFile::copy(sourceDir() + "/tests/data/xfce4-panel.xml", channels + "/xfce4-panel.xml"));

        m_wm.start("openbox", {});
        QVERIFY(m_wm.waitForStarted());
        m_panel.start("xfce4-panel", {});
        QVERIFY(m_panel.waitForStarted());
        QVERIFY2(
            QTest::qWaitFor([] { return watcherProperty("IsStatusNotifierHostRegistered").contains("true"); }, 15000),
            "xfce4-panel registered no StatusNotifierItem host");
    }

    void cleanupTestCase()
    {
        for (QProcess *p : { &m_panel, &m_wm }) {
            p->terminate();
            if (!p->waitForFinished(3000))
                p->kill();
        }
    }

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
        keep(icon, "tray-icon-avatar-badge.png");
        const bool pictures = !qEnvironmentVariableIsEmpty("QM_SCREENSHOT_DIR");
        QScreen *screen = QGuiApplication::primaryScreen();
        if (pictures) {
            QTest::qWait(1500); // let the panel draw the newest icon, for the picture only
            const QImage strip = screen->grabWindow(0, 0, 0, 240, 32).toImage();
            keep(strip.scaled(strip.size() * 2), "tray-panel.png");
        }

        app.tray().menu()->popup(QPoint(8, 34));
        QVERIFY(QTest::qWaitForWindowExposed(app.tray().menu()));
        if (pictures) {
            QTest::qWait(300);
            keep(screen->grabWindow(0, 0, 0, 520, 480).toImage(), "tray-menu.png");
        }
        app.tray().menu()->hide();
        // Neither the menu, nor the overlay, nor the banner fetched the title's picture.
        QCOMPARE(web.connections, 0);

        app.menuBar().clearAll();
        QVERIFY(QTest::qWaitFor([&] { return layoutOf(service, pm.captured(1)).contains("最近消息 · 无未读"); }, 5000));
    }

private:
    QProcess m_wm;
    QProcess m_panel;
};

QTEST_MAIN(TestTrayEndToEnd)
#include "tst_traye2e.moc"
