#include "ipc/Frames.h"
#include "ipc/SocketServer.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"
#include "support/UnixClient.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <atomic>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

// A server on `path` with the frames it hands over recorded.
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
        return log.waitFor("socket: listening at " + server.path());
    }
    SocketServer server;
    QList<NotifyFrame> frames;
};

static QByteArray notifyLine(const QByteArray &sender, const QByteArray &body, const QByteArray &msgId)
{
    return R"({"type":"notify","sender":")" + sender + R"(","body":")" + body + R"(","msgId":")" + msgId + "\"}\n";
}

class TestSocketServer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodesOptionalFieldsAsAbsent()
    {
        // null is absent, not false; unknown keys are the tool's business.
        const auto minimal
            = Frames::decodeNotify(R"({"type":"notify","sender":"a","body":"hi","focused":null,"x":[1]})");
        QVERIFY(minimal);
        QCOMPARE(minimal->sender, u"a"_s);
        QVERIFY(!minimal->title && !minimal->msgId && !minimal->focused && !minimal->hasCode && !minimal->codeText);

        const auto full = Frames::decodeNotify(
            R"({"type":"notify","sender":"bob","title":"T","body":"多行\n正文","msgId":"m1","focused":false,"hasCode":true,"codeText":"ls"})");
        QVERIFY(full);
        QCOMPARE(full->body, u"多行\n正文"_s);
        QCOMPARE(full->focused, false);
        QCOMPARE(full->codeText, u"ls"_s);
    }

    void rejectsWrongShapes_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("no body") << R"({"type":"notify","sender":"a"})"_ba;
        QTest::newRow("number sender") << R"({"type":"notify","sender":1,"body":"x"})"_ba;
        QTest::newRow("string focused") << R"({"type":"notify","sender":"a","body":"x","focused":"true"})"_ba;
        QTest::newRow("missing type") << R"({"sender":"a","body":"x"})"_ba;
        QTest::newRow("garbage") << "garbage"_ba;
    }

    void rejectsWrongShapes()
    {
        QFETCH(QByteArray, line);
        QVERIFY(!Frames::decodeNotify(line));
    }

    void encodesRepliesAndFillsByteForByte_data()
    {
        QTest::addColumn<QByteArray>("encoded");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("reply, no msgId") << Frames::encode(ReplyFrame { u"a"_s, u"ok"_s, {} })
                                         << R"({"type":"reply","sender":"a","text":"ok"})"_ba;
        // Slash escaped as the tool's encoder does; non-ASCII raw UTF-8; controls escaped.
        QTest::newRow("escaping") << Frames::encode(FillFrame { u"a/b \"q\" \\ \n\t中文\x01"_s, {} })
                                  << "{\"type\":\"fill\",\"text\":\"a\\/b \\\"q\\\" \\\\ \\n\\t中文\\u0001\"}"_ba;
    }

    void encodesRepliesAndFillsByteForByte()
    {
        QFETCH(QByteArray, encoded);
        QFETCH(QByteArray, expected);
        QCOMPARE(encoded, expected);
        QVERIFY(!encoded.contains('\n')); // a frame is always one line
    }

    void listensOwnerOnlyAndReplacesStaleSocket()
    {
        TestEnv env;
        LogCapture log;
        // A socket file left behind by a crashed run: bound, nobody listening.
        QVERIFY(QDir().mkpath(env.quillmoteHome()));
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un addr { AF_UNIX, {} };
        qstrncpy(addr.sun_path, env.socketPath().toUtf8().constData(), sizeof(addr.sun_path));
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof(addr)), 0);
        ::close(fd);

        Harness h(env.socketPath());
        QVERIFY2(h.start(log), qPrintable(log.dump()));
        UnixClient c;
        QVERIFY(c.connectTo(env.socketPath()));
        QVERIFY(c.write(notifyLine("a", "hi", "1")));
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
        // Two frames in one write, with empty lines around them.
        QVERIFY(c.write("\n" + notifyLine("a", "one", "1") + "\n\n" + notifyLine("a", "two", "2")));
        // One frame split across three writes, the cut inside a multi-byte character.
        const QByteArray split = notifyLine("b", "三 \\n lines", "3");
        const int cut = split.indexOf("\xe4\xb8") + 1;
        for (const QByteArray &part : { split.left(10), split.mid(10, cut - 10), split.mid(cut) }) {
            QVERIFY(c.write(part));
            QTest::qWait(20); // so that each part arrives in a read of its own
        }
        // A reply from a terminal is not a notification.
        QVERIFY(c.write(R"({"type":"reply","sender":"a","body":"x"})"
                        "\n"));
        QVERIFY(c.write(notifyLine("c", "last", "4")));

        QTRY_COMPARE(h.frames.size(), 4);
        QStringList ids;
        for (const NotifyFrame &f : h.frames)
            ids << *f.msgId;
        QCOMPARE(ids, QStringList({ "1", "2", "3", "4" }));
        QCOMPARE(h.frames[2].body, u"三 \n lines"_s);
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
        UnixClient queued, later;
        QVERIFY(queued.connectTo(env.socketPath()));
        QVERIFY(queued.write(notifyLine("a", "queued", "1")));
        QTRY_COMPARE(h.frames.size(), 1);
        QVERIFY(later.connectTo(env.socketPath()));
        QVERIFY(later.write(notifyLine("a", "later", "2")));
        QTRY_COMPARE(h.frames.size(), 2);
        // One line for the whole burst.
        QCOMPARE(log.count(u"socket: accept() failed (errno %1)"_s.arg(error)), 1);
    }

    void refusesPathsLongerThanTheKernelTakes()
    {
        TestEnv env;
        LogCapture log;
        const QString dir = env.root() + u'/';
        // sun_path holds 108 bytes with the terminating zero: 107 is the longest path.
        Harness ok(dir + QString(107 - dir.size(), u'f'));
        QVERIFY2(ok.start(log), qPrintable(log.dump()));
        Harness refused(dir + QString(108 - dir.size(), u'l'));
        refused.server.start();
        QVERIFY(log.waitFor(u"socket: path too long (108 > 107) — IPC disabled"_s));
        QVERIFY(!QFile::exists(refused.server.path()));
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
        const QString big(64 * 1024, u'x');
        QElapsedTimer each;
        qint64 worst = 0;
        int delivered = 0;
        for (int i = 0; i < frames; ++i) {
            each.start();
            delivered += h.server.broadcast(FillFrame { big, QString::number(i) }) ? 1 : 0;
            worst = qMax(worst, each.elapsed());
        }
        reader.join();
        QCOMPARE(received.load(), frames);
        QCOMPARE(delivered, frames);
        QVERIFY(log.waitFor(u"stopped reading"_s));
        // One send timeout at most, however long the stalled terminal stays stalled.
        QVERIFY2(worst < (SocketServer::sendTimeoutSeconds + 2) * 1000, qPrintable(QString::number(worst)));
    }
};

QTEST_GUILESS_MAIN(TestSocketServer)
#include "tst_socketserver.moc"
