// The overlay in a real Wayland session: sway, headless, two outputs side by side, with
// XWayland, and the app started the way a desktop starts it (`swaymsg exec`: WAYLAND_DISPLAY
// and DISPLAY set, no platform chosen). A message must show as a small card at the top
// centre of the focused window's output, that the compositor does not manage: nothing of
// ours in sway's window tree.
// sway refuses to run as root: as root the test runs sway and the app as an unprivileged
// account, created when missing. Set QM_SCREENSHOT_DIR to keep the screenshot.
#include "support/Programs.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <functional>
#include <pwd.h>
#include <unistd.h>

namespace {

const char kUser[] = "qmdesk";

// Visits every node of sway's tree (tiled, floating and scratchpad windows alike) with the
// name of the output it is on.
void forEachNode(const QJsonObject &node, const QString &output,
    const std::function<void(const QJsonObject &, const QString &)> &visit)
{
    const QString here = node.value("type").toString() == "output" ? node.value("name").toString() : output;
    visit(node, here);
    for (const char *key : { "nodes", "floating_nodes" })
        for (const QJsonValue &child : node.value(key).toArray())
            forEachNode(child.toObject(), here, visit);
}

// The bounding box of the card's near-black pixels; the desktop behind is blue.
QRect darkArea(const QImage &image)
{
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        const QRgb *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qRed(line[x]) < 40 && qGreen(line[x]) < 40 && qBlue(line[x]) < 40)
                box |= QRect(x, y, 1, 1);
        }
    }
    return box;
}

} // namespace

class TestWaylandEndToEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        for (const char *tool : { "sway", "swaymsg", "grim", "Xwayland", "runuser" }) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(QString::fromLatin1(tool))));
        }
        QVERIFY(m_world.isValid());
        QVERIFY(QDir(m_world.path()).mkpath("run"));
        QVERIFY(QDir(m_world.path()).mkpath("home"));
        QVERIFY(QFile::copy(sourceDir() + "/tests/data/sway.conf", m_world.filePath("sway.conf")));
        QFile::setPermissions(m_world.path(),
            QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther);
        if (::getuid() == 0) {
            if (!::getpwnam(kUser))
                QCOMPARE(QProcess::execute(
                             "useradd", { "--system", "--no-create-home", "--shell", "/usr/sbin/nologin", kUser }),
                    0);
            QCOMPARE(QProcess::execute("chown", { "-R", kUser, m_world.path() }), 0);
            m_as = { "runuser", "-u", kUser, "--" };
        }
        QFile::setPermissions(m_world.filePath("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        // A clean environment: nothing of the test's own session leaks into the desktop's.
        m_session = { "PATH=/usr/local/bin:/usr/bin:/bin", "HOME=" + m_world.filePath("home"),
            "XDG_RUNTIME_DIR=" + m_world.filePath("run"), "XDG_CONFIG_HOME=" + m_world.filePath("home/.config"),
            "XDG_DATA_HOME=" + m_world.filePath("home/.local/share"),
            "XDG_CACHE_HOME=" + m_world.filePath("home/.cache"), "WLR_BACKENDS=headless", "WLR_HEADLESS_OUTPUTS=2",
            "WLR_LIBINPUT_NO_DEVICES=1", "WLR_RENDERER=pixman",
            // No bus: nothing is autolaunched that would outlive the test.
            "DBUS_SESSION_BUS_ADDRESS=disabled:" };
        const QString asan = qEnvironmentVariable("ASAN_OPTIONS");
        if (!asan.isEmpty())
            m_session << "ASAN_OPTIONS=" + asan;
        m_sway.setStandardOutputFile(m_world.filePath("sway.log"));
        m_sway.setStandardErrorFile(m_world.filePath("sway.log"));
        startAs(m_sway, QStringList { "-i" } + m_session + QStringList { "sway", "-c", m_world.filePath("sway.conf") });
        QVERIFY(m_sway.waitForStarted());
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         const QStringList found
                             = QDir(m_world.filePath("run")).entryList({ "sway-ipc.*.sock" }, QDir::System);
                         if (!found.isEmpty())
                             m_swaySock = m_world.filePath("run/" + found.first());
                         return !found.isEmpty()
                             && QDir(m_world.filePath("run")).entryList({ "wayland-*.lock" }).size() == 1;
                     },
                     15000),
            qPrintable(log("sway.log")));
        m_wayland = QDir(m_world.filePath("run")).entryList({ "wayland-*.lock" }).first().chopped(5);
    }

    void cleanupTestCase()
    {
        stopApp();
        if (m_sway.state() != QProcess::NotRunning) {
            swaymsg({ "exit" });
            if (!m_sway.waitForFinished(5000)) {
                // runuser passes the signal on to sway.
                m_sway.terminate();
                m_sway.waitForFinished(5000);
            }
        }
    }

    // Started with an X11 window focused on the right output, where the overlay must go
    // (the other ways of picking a screen are the controller's own test).
    void overlayIsASmallUnmanagedCardOnTheFocusedOutput()
    {
        // sway names the focused X11 window in _NET_ACTIVE_WINDOW.
        const QString output = "HEADLESS-2";
        const QString title = "qm-focus-" + output;
        swaymsg({ "focus", "output", output });
        swaymsg({ "exec", "xmessage -title " + title + " focus" });
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         QString focused;
                         forEachNode(QJsonDocument::fromJson(swaymsg({ "-t", "get_tree" })).object(), {},
                             [&](const QJsonObject &n, const QString &on) {
                                 if (n.value("name") == title && n.value("focused").toBool())
                                     focused = on;
                             });
                         return focused == output;
                     },
                     10000),
            swaymsg({ "-t", "get_tree" }).constData());
        startApp();
        QVERIFY2(log("app.log").contains("running on XWayland"), qPrintable(log("app.log")));
        QImage shot;
        const QRect card = showMessage(&shot);
        keepPicture("wayland-sway-focused-output-" + output + ".png", [&] { return shot; });
        QVERIFY2(qAbs(card.center().x() - (1440 + 720)) <= 2, qPrintable(QDebug::toString(card)));
        QVERIFY2(card.top() <= 8 && card.width() < 500 && card.height() < 120, qPrintable(QDebug::toString(card)));

        // Nothing of ours is a window the compositor manages (tiled, floating or hidden).
        const QJsonObject tree = QJsonDocument::fromJson(swaymsg({ "-t", "get_tree" })).object();
        QVERIFY(!tree.isEmpty());
        bool ours = false;
        forEachNode(tree, {}, [&](const QJsonObject &n, const QString &) { ours |= n.value("pid") == m_appPid; });
        QVERIFY2(!ours, qPrintable(QString::fromUtf8(QJsonDocument(tree).toJson())));
    }

private:
    void startApp()
    {
        QFile::remove(m_world.filePath("app.log"));
        QFile::remove(m_world.filePath("app.pid"));
        const QString script = m_world.filePath("start-app.sh");
        QVERIFY(QFile::exists(script) || QFile::copy(sourceDir() + "/tests/data/sway-start-app.sh", script));
        swaymsg({ "exec",
            QStringList { script, m_world.filePath("app.pid"), m_world.filePath("home/qh"), QStringLiteral(QM_APP),
                m_world.filePath("app.log") }
                .join(' ') });
        QVERIFY2(QTest::qWaitFor([&] { return log("app.log").contains("socket: listening at"); }, 20000),
            qPrintable(log("app.log") + log("sway.log")));
        m_appPid = log("app.pid").trimmed().toLongLong();
        QVERIFY(m_appPid > 0);
    }

    void stopApp()
    {
        if (m_appPid <= 0)
            return;
        ::kill(pid_t(m_appPid), SIGTERM);
        QVERIFY(QTest::qWaitFor([&] { return ::kill(pid_t(m_appPid), 0) != 0; }, 10000));
        m_appPid = 0;
    }

    // Sends one message and returns where its card is, once drawn and grown to its compact
    // size (the appearance animation has ended when two screenshots agree).
    QRect showMessage(QImage *shot)
    {
        UnixClient terminal;
        const bool sent = terminal.connectTo(m_world.filePath("home/qh/notifier.sock"))
            && terminal.write(R"({"type":"notify","sender":"ada","title":"Build","body":"all green"})"
                              "\n");
        if (!sent || !QTest::qWaitFor([&] { return log("app.log").contains("notch: show"); }, 10000)) {
            qWarning("%s", qPrintable(log("app.log")));
            return {};
        }
        QRect card, previous;
        (void)QTest::qWaitFor( // the caller checks the card it gets
            [&] {
                *shot = screenshot();
                previous = card;
                card = darkArea(shot->copy(0, 0, shot->width(), 200));
                return card.width() > 100 && card == previous;
            },
            15000);
        return card;
    }

    // Runs `env <command>`, as the unprivileged account when we are root.
    void startAs(QProcess &p, const QStringList &command)
    {
        const QStringList argv = m_as + QStringList { "env" } + command;
        p.start(argv.first(), argv.mid(1));
    }

    QByteArray swaymsg(const QStringList &args)
    {
        QProcess p;
        startAs(p, QStringList { "SWAYSOCK=" + m_swaySock, "swaymsg" } + args);
        p.waitForFinished(10000);
        return p.readAllStandardOutput();
    }

    QImage screenshot()
    {
        const QString file = m_world.filePath("shot.png");
        QFile::remove(file);
        QProcess p;
        startAs(p, { "XDG_RUNTIME_DIR=" + m_world.filePath("run"), "WAYLAND_DISPLAY=" + m_wayland, "grim", file });
        p.waitForFinished(10000);
        return QImage(file).convertToFormat(QImage::Format_RGB32);
    }

    QString log(const QString &name) const
    {
        QFile f(m_world.filePath(name));
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }

    QTemporaryDir m_world { QStringLiteral("/tmp/qmwl-XXXXXX") };
    QStringList m_as; // runs a command as the unprivileged account, when we are root
    QStringList m_session;
    QProcess m_sway;
    QString m_swaySock;
    QString m_wayland;
    qint64 m_appPid = 0;
};

QTEST_GUILESS_MAIN(TestWaylandEndToEnd)
#include "tst_waylande2e.moc"
