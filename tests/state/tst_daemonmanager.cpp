#include "cli/CLIRunner.h"
#include "state/DaemonManager.h"
#include "state/StateClient.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include "SimWeb.h"

#include <QDir>
#include <QFile>
#include <QTest>

namespace {

QStringList commandLine(pid_t pid)
{
    QFile f(QStringLiteral("/proc/%1/cmdline").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QStringList args = QString::fromLocal8Bit(f.readAll()).split(QChar(0));
    if (!args.isEmpty() && args.last().isEmpty())
        args.removeLast();
    return args;
}

} // namespace

class TestDaemonManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { CLIRunner::resetCacheForTesting(); }
    void cleanup()
    {
        // Whatever a test left running is stopped here.
        if (const auto pid = DaemonManager::shared().childPid())
            killAndWait(*pid);
    }

    void startSpawnsTheServerAndReusesTheChild()
    {
        TestEnv env;
        LogCapture log;
        const quint16 port = freePort();
        env.set("QUILLMOTE_WEB_PORT", QByteArray::number(port));
        env.set("QUILLMOTE_BIN", simPath().toUtf8());

        StateClient client;
        client.start();
        QVERIFY2(log.waitFor(QStringLiteral("connected: 13 msgs, 4 contacts"), 20000), qPrintable(log.dump()));
        QVERIFY(log.contains(QStringLiteral("daemon: state server silent — attempting to spawn `quillmote web`")));
        const std::optional<pid_t> pid = DaemonManager::shared().childPid();
        QVERIFY(pid);
        QVERIFY(log.contains(QStringLiteral("daemon: spawned `%1 web --port %2` (pid %3)").arg(simPath()).arg(port).arg(*pid)));
        QVERIFY(log.contains(QStringLiteral("daemon: spawned server is now responding")));
        QCOMPARE(log.find(QStringLiteral("daemon: spawned `")).category, QStringLiteral("stateclient"));

        // A second spawn while the child runs starts nothing.
        QVERIFY(DaemonManager::shared().spawnWebServer(port, Log::Category::stateclient));
        QVERIFY(log.contains(
            QStringLiteral("daemon: our web-server child is already running (pid %1); not re-spawning").arg(*pid)));
        QCOMPARE(DaemonManager::shared().childPid(), pid);
        QCOMPARE(log.count(QStringLiteral("daemon: spawned `")), 1);

        // Once it exits, the termination handler forgets it and the next call starts a new one.
        QVERIFY(killAndWait(*pid));
        QVERIFY(QTest::qWaitFor([] { return !DaemonManager::shared().childPid(); }, 5000));
        QVERIFY(DaemonManager::shared().spawnWebServer(port, Log::Category::stateclient));
        const std::optional<pid_t> second = DaemonManager::shared().childPid();
        QVERIFY(second && *second != *pid);
        QCOMPARE(log.count(QStringLiteral("daemon: spawned `")), 2);
    }

    void scriptInvocationPutsTheScriptFirst()
    {
        TestEnv env;
        LogCapture log;
        const quint16 port = freePort();
        const QString root = env.root();
        env.set("HOME", (root + QStringLiteral("/home")).toUtf8());
        env.unset("QUILLMOTE_BIN");
        QDir().mkpath(root + QStringLiteral("/n"));
        QVERIFY(QFile::link(QStringLiteral("/usr/bin/node"), root + QStringLiteral("/n/node")));
        env.set("PATH", (root + QStringLiteral("/n")).toUtf8());
        const QString script = root + QStringLiteral("/home/Documents/AI/Quillmote/packages/cli/dist/cli.js");
        QDir().mkpath(QFileInfo(script).absolutePath());
        QVERIFY(QFile::link(simPath(), script));

        QVERIFY(DaemonManager::shared().spawnWebServer(port, Log::Category::stateclient));
        const std::optional<pid_t> pid = DaemonManager::shared().childPid();
        QVERIFY(pid);
        // Node rewrites its argument area while starting; read it once it has settled.
        QVERIFY(QTest::qWaitFor([&] { return commandLine(*pid).size() == 5; }, 5000));
        QCOMPARE(commandLine(*pid),
                 QStringList({root + QStringLiteral("/n/node"), script, QStringLiteral("web"), QStringLiteral("--port"),
                              QString::number(port)}));
        QVERIFY(log.contains(QStringLiteral("daemon: spawned `%1/n/node web --port %2`").arg(root).arg(port)));
    }
};

QTEST_GUILESS_MAIN(TestDaemonManager)
#include "tst_daemonmanager.moc"
