#include "ipc/SocketServer.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <atomic>
#include <memory>
#include <random>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

// A server on the environment's socket path with its callbacks recorded.
struct Harness {
    explicit Harness(const QString &path)
        : server(path)
    {
        server.onNotify = [this](const NotifyFrame &f) { frames.append(f); };
        server.onLog = [](const QString &line) { qInfo("%s", qPrintable(line)); };
    }
    bool start(LogCapture &log)
    {
        server.start();
        return log.waitFor(QStringLiteral("socket: listening at ") + server.path());
    }
    SocketServer server;
    QList<NotifyFrame> frames;
};

static QByteArray notifyLine(const QString &sender, const QString &body, const QString &msgId = {})
{
    QByteArray line = "{\"type\":\"notify\",\"sender\":\"" + sender.toUtf8() + "\",\"body\":\"" + body.toUtf8() + "\"";
    if (!msgId.isEmpty())
        line += ",\"msgId\":\"" + msgId.toUtf8() + "\"";
    return line + "}\n";
}

class TestSocketServer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void listensOwnerOnlyAndReplacesStaleSocket()
    {
        TestEnv env;
        LogCapture log;
        // A socket file left behind by a crashed run: bound, nobody listening.
        QVERIFY(QDir().mkpath(env.quillmoteHome()));
        {
            const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
            sockaddr_un addr{};
            addr.sun_family = AF_UNIX;
            qstrncpy(addr.sun_path, env.socketPath().toUtf8().constData(), sizeof(addr.sun_path));
            QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof(addr)), 0);
            ::close(fd);
        }
        Harness h(env.socketPath());
        QVERIFY2(h.start(log), qPrintable(log.dump()));
        struct stat st {};
        QCOMPARE(::stat(env.socketPath().toUtf8().constData(), &st), 0);
        QVERIFY(S_ISSOCK(st.st_mode));
        QCOMPARE(st.st_mode & 0777, 0600u);
        QCOMPARE(log.find(QStringLiteral("socket: listening")).level, QStringLiteral("info"));

        UnixClient c;
        QVERIFY(c.connectTo(env.socketPath()));
        QVERIFY(c.write(notifyLine(QStringLiteral("a"), QStringLiteral("hi"))));
        QTRY_COMPARE(h.frames.size(), 1);
    }

    void splitsFramesAndSkipsWhatIsNotANotify()
    {
        TestEnv env;
        LogCapture log;
        Harness h(env.socketPath());
        QVERIFY(h.start(log));
        UnixClient c;
        QVERIFY(c.connectTo(env.socketPath()));
        // A line that is not JSON is skipped; the connection stays open.
        QVERIFY(c.write("garbage\n"));
        QVERIFY(log.waitFor(QStringLiteral("socket: ignored unparseable frame (7 bytes)")));

        // Two frames in one write, with empty lines around them.
        QVERIFY(c.write("\n" + notifyLine("a", "one", "1") + "\n\n" + notifyLine("a", "two", "2")));
        // One frame split across three writes, the cut inside a multi-byte character.
        const QByteArray split = notifyLine("b", QStringLiteral("三 \\n lines"), "3");
        const int cut = split.indexOf("\xe4\xb8") + 1;
        QVERIFY(c.write(split.left(10)));
        QTest::qWait(20);
        QVERIFY(c.write(split.mid(10, cut - 10)));
        QTest::qWait(20);
        QVERIFY(c.write(split.mid(cut)));
        // Other types are dropped silently.
        QVERIFY(c.write(R"({"type":"ping","sender":"a","body":"x"})" "\n"
                        R"({"type":"reply","sender":"a","body":"x"})" "\n"));
        QVERIFY(c.write(notifyLine("c", "last", "4")));

        QTRY_COMPARE(h.frames.size(), 4);
        QStringList ids;
        for (const NotifyFrame &f : h.frames)
            ids << *f.msgId;
        QCOMPARE(ids, QStringList({"1", "2", "3", "4"}));
        QCOMPARE(h.frames[2].body, QStringLiteral("三 \n lines"));
        QCOMPARE(log.count(QStringLiteral("ignored")), 1);
    }

    void deliversEveryFrameFromConcurrentTerminals()
    {
        TestEnv env;
        LogCapture log;
        Harness h(env.socketPath());
        QVERIFY(h.start(log));

        constexpr int clients = 8, perClient = 125;
        std::atomic<int> failures{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < clients; ++t) {
            threads.emplace_back([&, t] {
                UnixClient c;
                if (!c.connectTo(env.socketPath())) {
                    ++failures;
                    return;
                }
                std::mt19937 rng(t);
                QByteArray batch;
                for (int i = 0; i < perClient; ++i) {
                    batch += notifyLine(QStringLiteral("agent%1").arg(t), QStringLiteral("第%1条\\n消息 \\\"q\\\"").arg(i),
                                        QStringLiteral("%1-%2").arg(t).arg(i));
                    // Random cuts: some frames split across writes, some several to a write.
                    while (batch.size() > 0 && rng() % 3 == 0) {
                        const int n = 1 + int(rng() % quint32(batch.size()));
                        if (!c.write(batch.left(n)))
                            ++failures;
                        batch.remove(0, n);
                    }
                }
                if (!c.write(batch))
                    ++failures;
            });
        }
        for (auto &t : threads)
            t.join();
        QCOMPARE(failures.load(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(h.frames.size(), clients * perClient, 10000);

        QSet<QString> ids;
        for (const NotifyFrame &f : h.frames) {
            ids.insert(*f.msgId);
            QVERIFY(f.body.contains(QStringLiteral("\n消息 \"q\"")));
        }
        QCOMPARE(ids.size(), clients * perClient);
        QCOMPARE(log.count(QStringLiteral("ignored")), 0);
    }

    void refusesPathsLongerThanTheKernelTakes()
    {
        TestEnv env;
        LogCapture log;
        const QString dir = env.root() + QLatin1Char('/');
        // sun_path holds 108 bytes with the terminating zero: 107 is the longest path.
        const QString fits = dir + QString(107 - dir.size(), QLatin1Char('f'));
        const QString tooLong = dir + QString(108 - dir.size(), QLatin1Char('l'));

        Harness ok(fits);
        QVERIFY2(ok.start(log), qPrintable(log.dump()));
        Harness refused(tooLong);
        refused.server.start();
        QVERIFY(log.waitFor(QStringLiteral("socket: path too long (108 > 107) — IPC disabled")));
        QVERIFY(!QFile::exists(tooLong));
    }

    void stalledClientDoesNotHoldBackLiveOne()
    {
        TestEnv env;
        LogCapture log;
        Harness h(env.socketPath());
        QVERIFY(h.start(log));

        UnixClient stalled, live;
        QVERIFY(stalled.connectTo(env.socketPath())); // connected, never reads
        QVERIFY(live.connectTo(env.socketPath()));
        QTRY_COMPARE(h.server.clientCount(), 2);

        constexpr int frames = 40;
        std::atomic<int> received{0};
        std::thread reader([&] {
            while (received < frames && !live.readLine(15000).isNull())
                ++received;
        });
        const QString big(64 * 1024, QLatin1Char('x'));
        QElapsedTimer longest;
        qint64 worst = 0;
        int delivered = 0;
        for (int i = 0; i < frames; ++i) {
            longest.start();
            delivered += h.server.broadcast(FillFrame{big, QString::number(i)}) ? 1 : 0;
            worst = qMax(worst, longest.elapsed());
        }
        reader.join();
        QCOMPARE(received.load(), frames);
        QCOMPARE(delivered, frames);
        QVERIFY(log.waitFor(QStringLiteral("stopped reading")));
        // One send timeout at most, however long the stalled terminal stays stalled.
        QVERIFY2(worst < (SocketServer::sendTimeoutSeconds + 2) * 1000, qPrintable(QString::number(worst)));
    }

    void simulatorReceivesRepliesAndFillsByteForByte()
    {
        TestEnv env;
        LogCapture log;
        Harness h(env.socketPath());
        QVERIFY(h.start(log));

        QProcess sim;
        sim.start(simPath(), {"notify", "--sender", "alice", "--body", "hello/world", "--msg-id", "m7", "--focused",
                              "--code", "ls -la", "--listen"});
        QTRY_COMPARE(h.frames.size(), 1);
        const NotifyFrame f = h.frames[0];
        QCOMPARE(f.sender, QStringLiteral("alice"));
        QCOMPARE(f.focused, std::optional<bool>(true));
        QCOMPARE(f.hasCode, std::optional<bool>(true));
        QCOMPARE(f.codeText, std::optional<QString>(QStringLiteral("ls -la")));

        QVERIFY(h.server.broadcast(ReplyFrame{f.sender, QStringLiteral("收到 a/b"), f.msgId}));
        QVERIFY(h.server.broadcast(FillFrame{*f.codeText, {}}));
        QTRY_VERIFY_WITH_TIMEOUT(sim.bytesAvailable() > 0 && sim.peek(4096).count('\n') >= 2, 5000);
        QCOMPARE(sim.readLine(), QByteArray("{\"type\":\"reply\",\"sender\":\"alice\",\"text\":\"\xe6\x94\xb6\xe5\x88\xb0 a\\/b\","
                                            "\"msgId\":\"m7\"}\n"));
        QCOMPARE(sim.readLine(), QByteArray("{\"type\":\"fill\",\"text\":\"ls -la\"}\n"));
        sim.terminate();
        QVERIFY(sim.waitForFinished(5000));
    }
};

QTEST_GUILESS_MAIN(TestSocketServer)
#include "tst_socketserver.moc"
