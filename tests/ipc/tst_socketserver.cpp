#include "ipc/SocketServer.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <atomic>
#include <memory>
#include <poll.h>
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
        QObject::connect(&server, &SocketServer::notifyReceived, [this](const NotifyFrame &f) { frames.append(f); });
        QObject::connect(&server, &SocketServer::logged, [](const QString &line) { qInfo("%s", qPrintable(line)); });
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
            sockaddr_un addr {};
            addr.sun_family = AF_UNIX;
            qstrncpy(addr.sun_path, env.socketPath().toUtf8().constData(), sizeof(addr.sun_path));
            QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof(addr)), 0);
            ::close(fd);
        }
        Harness h(env.socketPath());
        QVERIFY2(h.start(log), qPrintable(log.dump()));
        struct stat st {
        };
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
        QVERIFY(c.write(R"({"type":"ping","sender":"a","body":"x"})"
                        "\n"
                        R"({"type":"reply","sender":"a","body":"x"})"
                        "\n"));
        QVERIFY(c.write(notifyLine("c", "last", "4")));

        QTRY_COMPARE(h.frames.size(), 4);
        QStringList ids;
        for (const NotifyFrame &f : h.frames)
            ids << *f.msgId;
        QCOMPARE(ids, QStringList({ "1", "2", "3", "4" }));
        QCOMPARE(h.frames[2].body, QStringLiteral("三 \n lines"));
        QCOMPARE(log.count(QStringLiteral("ignored")), 1);
    }

    // Lines of megabytes outgrow the reader's first buffer and move to a larger one, and the
    // bytes after them move back: every byte must stay in its place through both moves.
    void keepsLongLinesWhole()
    {
        TestEnv env;
        LogCapture log;
        Harness h(env.socketPath());
        QVERIFY(h.start(log));
        const auto body = [](int size, int seed) {
            QByteArray b(size, Qt::Uninitialized);
            for (int i = 0; i < size; ++i)
                b[i] = char('a' + (i * 7 + seed) % 26);
            return b;
        };
        const QByteArray first = body(3 << 20, 1), second = body(5 << 20, 2);
        UnixClient c;
        QVERIFY(c.connectTo(env.socketPath()));
        QVERIFY(c.write(notifyLine("a", first, "1") + notifyLine("b", "small", "2") + QByteArray(3 << 20, 'x') + "\n"
            + notifyLine("c", second, "3") + notifyLine("d", "last", "4").chopped(1)));
        QVERIFY(c.write("\n"));
        QTRY_COMPARE(h.frames.size(), 4);
        QCOMPARE(h.frames[0].body.toLatin1(), first);
        QCOMPARE(h.frames[1].body, QStringLiteral("small"));
        QCOMPARE(h.frames[2].body.toLatin1(), second);
        QCOMPARE(*h.frames[3].msgId, QStringLiteral("4"));
        QCOMPARE(log.count(QStringLiteral("socket: ignored unparseable frame (%1 bytes)").arg(3 << 20)), 1);
    }

    // Out of descriptors or memory, accept() fails; the terminal stays queued, and after a
    // pause the loop takes it and the ones after it. Only stop() ends the loop.
    void acceptFailuresPass_data()
    {
        QTest::addColumn<int>("error");
        for (const int e : { EMFILE, ENFILE, ENOBUFS, ENOMEM, ECONNABORTED, EPROTO })
            QTest::newRow(qPrintable(QString::number(e))) << e;
    }

    void acceptFailuresPass()
    {
        QFETCH(int, error);
        TestEnv env;
        LogCapture log;
        Harness h(env.socketPath());
        std::atomic<int> failuresLeft { 3 };
        h.server.setAcceptForTesting([&](int fd) {
            // Fails only once a terminal waits, as running out of descriptors does.
            pollfd pfd { fd, POLLIN, 0 };
            if (failuresLeft > 0 && ::poll(&pfd, 1, -1) > 0) {
                --failuresLeft;
                errno = error;
                return -1;
            }
            return ::accept4(fd, nullptr, nullptr, SOCK_CLOEXEC);
        });
        QVERIFY(h.start(log));
        UnixClient queued;
        QVERIFY(queued.connectTo(env.socketPath()));
        QVERIFY(queued.write(notifyLine("a", "queued", "1")));
        QTRY_COMPARE(h.frames.size(), 1);
        UnixClient later;
        QVERIFY(later.connectTo(env.socketPath()));
        QVERIFY(later.write(notifyLine("a", "later", "2")));
        QTRY_COMPARE(h.frames.size(), 2);
        // One line for the whole burst.
        QCOMPARE(log.count(QStringLiteral("socket: accept() failed (errno %1)").arg(error)), 1);
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
        std::atomic<int> received { 0 };
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
            delivered += h.server.broadcast(FillFrame { big, QString::number(i) }) ? 1 : 0;
            worst = qMax(worst, longest.elapsed());
        }
        reader.join();
        QCOMPARE(received.load(), frames);
        QCOMPARE(delivered, frames);
        QVERIFY(log.waitFor(QStringLiteral("stopped reading")));
        // One send timeout at most, however long the stalled terminal stays stalled.
        QVERIFY2(worst < (SocketServer::sendTimeoutSeconds + 2) * 1000, qPrintable(QString::number(worst)));
    }
};

QTEST_GUILESS_MAIN(TestSocketServer)
#include "tst_socketserver.moc"
