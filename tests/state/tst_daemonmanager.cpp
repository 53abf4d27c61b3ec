#include "cli/CLIRunner.h"
#include "state/DaemonManager.h"
#include "state/StateClient.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include "support/SimWeb.h"

#include <QTest>

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
        QVERIFY(log.contains(
            QStringLiteral("daemon: spawned `%1 web --port %2` (pid %3)").arg(simPath()).arg(port).arg(*pid)));
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
};

QTEST_GUILESS_MAIN(TestDaemonManager)
#include "tst_daemonmanager.moc"
