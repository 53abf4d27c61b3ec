#include "cli/CLIRunner.h"
#include "state/SSELineSplitter.h"
#include "state/StateClient.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include "support/SimWeb.h"

#include <QFile>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

QByteArray documentWith(int messages)
{
    QByteArray list;
    for (int i = 0; i < messages; ++i) {
        if (i)
            list += ',';
        list += R"({"id":"m)" + QByteArray::number(i)
            + R"(","peer":"alice","direction":"in","type":"text","createdAt":"2024-01-01T08:00:00Z","content":{"text":"hi"}})";
    }
    return R"({"handle":"me","contacts":[{"handle":"alice","fingerprint":"AB"}],"messages":[)" + list + "]}";
}

// A hand-driven state server: answers every "/api/state" with `body` and keeps each
// "/events" connection open so the test writes its bytes chunk by chunk.
class ScriptedServer : public QObject
{
public:
    ScriptedServer()
    {
        m_server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *s = m_server.nextPendingConnection())
                QObject::connect(s, &QTcpSocket::readyRead, this, [this, s] { onRequest(s); });
        });
    }
    quint16 port() const { return m_server.serverPort(); }
    int stateRequests = 0;
    int eventConnections = 0;
    QByteArray body = documentWith(1);

    void sendEvent(const QByteArray &bytes)
    {
        if (m_events) {
            m_events->write(bytes);
            m_events->flush();
        }
    }
    void closeEvents()
    {
        if (m_events)
            m_events->disconnectFromHost();
    }

private:
    void onRequest(QTcpSocket *s)
    {
        const QByteArray head = s->peek(s->bytesAvailable());
        if (!head.contains("\r\n\r\n"))
            return;
        s->readAll();
        if (head.startsWith("GET /events")) {
            ++eventConnections;
            m_events = s;
            s->write("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nCache-Control: no-cache\r\n\r\n: hi\n\n");
        } else {
            ++stateRequests;
            s->write("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: "
                + QByteArray::number(body.size()) + "\r\n\r\n" + body);
        }
        s->flush();
    }
    QTcpServer m_server;
    QPointer<QTcpSocket> m_events;
};

} // namespace

class TestStateClient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { CLIRunner::resetCacheForTesting(); }

    void eventLines_data()
    {
        QTest::addColumn<QByteArray>("chunk");
        QTest::addColumn<int>("changed");
        QTest::newRow("carriage return and line feed") << QByteArray("event: changed\r\n") << 1;
        QTest::newRow("no blank after the colon") << QByteArray("event:changed\n") << 1;
        QTest::newRow("payload, comments and other events are ignored")
            << QByteArray(": keep-alive\n\nevent: other\ndata: event: changed\n") << 0;
        QTest::newRow("two in one chunk, then a partial one")
            << QByteArray("event: changed\ndata: {}\n\nevent: changed\n\nevent: ch") << 2;
        QTest::newRow("blanks around the line") << QByteArray("  event: changed \t\n") << 1;
    }

    void eventLines()
    {
        QFETCH(QByteArray, chunk);
        QFETCH(int, changed);
        SSELineSplitter lines;
        QCOMPARE(lines.feed(chunk), changed);
    }

    void logsEachTransitionOnce()
    {
        TestEnv env;
        LogCapture log;
        const quint16 port = freePort();
        noToolEnvironment(env, port);
        SimWeb sim;
        QVERIFY(sim.start(port));

        StateClient client;
        QSignalSpy connection(&client, &StateClient::connectionChanged);
        QSignalSpy state(&client, &StateClient::stateChanged);
        client.start();
        QVERIFY(log.contains(QStringLiteral("start: polling http://127.0.0.1:%1").arg(port)));
        QVERIFY2(log.waitFor(QStringLiteral("connected: 13 msgs, 4 contacts"), 10000), qPrintable(log.dump()));
        QVERIFY(log.waitFor(QStringLiteral("daemon: state server already responding — not spawning")));
        QCOMPARE(client.connection(), StateClient::Connection::connected);
        QCOMPARE(client.state().messages.size(), 13);
        QCOMPARE(state.size(), 1);

        // The server answers 500 for several polls in a row: offline once.
        QVERIFY(sim.command({ QStringLiteral("control"), QStringLiteral("--status"), QStringLiteral("500") }));
        QVERIFY(log.waitFor(QStringLiteral("offline: "), 10000));
        const int fetches = client.fetchCount();
        QVERIFY(QTest::qWaitFor([&] { return client.fetchCount() >= fetches + 2; }, 10000));
        QCOMPARE(log.count(QStringLiteral("offline: ")), 1);
        QCOMPARE(log.find(QStringLiteral("offline: ")).level, QStringLiteral("info"));
        QCOMPARE(log.find(QStringLiteral("offline: ")).category, QStringLiteral("stateclient"));
        QCOMPARE(client.connection(), StateClient::Connection::offline);
        QCOMPARE(client.state().messages.size(), 13); // the last good state stays

        // Back: the connected line once more, with the counts; the unchanged document is not
        // published again.
        QVERIFY(sim.command({ QStringLiteral("control"), QStringLiteral("--status"), QStringLiteral("200") }));
        QVERIFY(log.waitFor(QStringLiteral("connected: 13 msgs, 4 contacts"), 10000, 2));
        const int fetchesBack = client.fetchCount();
        QVERIFY(QTest::qWaitFor([&] { return client.fetchCount() >= fetchesBack + 2; }, 10000));
        QCOMPARE(log.count(QStringLiteral("connected: ")), 2);
        QCOMPARE(connection.size(), 3);
        QCOMPARE(connection[0][0].value<StateClient::Connection>(), StateClient::Connection::connected);
        QCOMPARE(connection[1][0].value<StateClient::Connection>(), StateClient::Connection::offline);
        QCOMPARE(connection[2][0].value<StateClient::Connection>(), StateClient::Connection::connected);
        // Byte-identical answers are neither decoded nor published again.
        QCOMPARE(state.size(), 1);
        QCOMPARE(client.decodeCount(), 1);
    }

    void eventSplitAcrossChunksRefetchesOnce()
    {
        TestEnv env;
        LogCapture log;
        ScriptedServer server;
        noToolEnvironment(env, server.port());
        StateClient client;
        client.setPollIntervalForTesting(3600 * 1000);
        client.start();
        QVERIFY(log.waitFor(QStringLiteral("connected: 1 msgs, 1 contacts"), 10000));
        QVERIFY(QTest::qWaitFor([&] { return server.eventConnections == 1; }, 5000));
        QTest::qWait(200);
        const int before = server.stateRequests;

        server.sendEvent("event: chan");
        QTest::qWait(300);
        QCOMPARE(server.stateRequests, before);
        server.body = documentWith(2);
        server.sendEvent("ged\ndata: {}\n\n");
        QVERIFY(QTest::qWaitFor([&] { return client.state().messages.size() == 2; }, 5000));
        QCOMPARE(server.stateRequests, before + 1);

        server.sendEvent("event: Changed\ndata: {}\n\n");
        QTest::qWait(500);
        QCOMPARE(server.stateRequests, before + 1);

        // The stream ends: it is opened again after its delay, and announcements work again.
        server.closeEvents();
        QVERIFY(QTest::qWaitFor([&] { return server.eventConnections == 2; }, 8000));
        server.body = documentWith(3);
        server.sendEvent("event: changed\r\n");
        QVERIFY(QTest::qWaitFor([&] { return client.state().messages.size() == 3; }, 5000));
        QCOMPARE(server.stateRequests, before + 2);
    }

    // Numbers of any size in a message's content decode. A document that cannot be decoded
    // costs one fetch per poll: it is decoded once, probes nothing and starts nothing.
    void undecodableAnswerCostsOnlyThePoll()
    {
        TestEnv env;
        LogCapture log;
        ScriptedServer server;
        noToolEnvironment(env, server.port());
        server.body = R"({"messages":[{"id":"m1","peer":"alice","direction":"in","type":"text",)"
                      R"("createdAt":"2024-01-01T08:00:00Z","content":{"n":123456789012345678901234567890,)"
                      R"("huge":-1e400,"small":18446744073709551616}}]})";
        StateClient client;
        client.setPollIntervalForTesting(50);
        client.start();
        QVERIFY2(log.waitFor(QStringLiteral("connected: 1 msgs, 0 contacts"), 10000), qPrintable(log.dump()));
        const JSONValue &content = client.state().messages[0].content;
        QCOMPARE(content.find(u"n")->toNumber(), 123456789012345678901234567890.0);
        QVERIFY(content.find(u"huge")->isNull());
        QCOMPARE(content.find(u"small")->toNumber(), 18446744073709551616.0);

        server.body = "{\"self\": 7}";
        QVERIFY(log.waitFor(QStringLiteral("offline: cannot decode the state document"), 10000));
        const int requests = server.stateRequests, fetches = client.fetchCount(), decodes = client.decodeCount();
        QVERIFY(QTest::qWaitFor([&] { return client.fetchCount() >= fetches + 10; }, 10000));
        // At most the one request in flight when counting began beyond the fetches.
        QVERIFY2(server.stateRequests - requests <= client.fetchCount() - fetches + 1,
            qPrintable(QStringLiteral("%1 requests for %2 fetches")
                           .arg(server.stateRequests - requests)
                           .arg(client.fetchCount() - fetches)));
        QCOMPARE(client.decodeCount(), decodes);
        QCOMPARE(log.count(QStringLiteral("already responding")), 1); // the one at start
        QCOMPARE(log.count(QStringLiteral("offline: ")), 1);
    }

    void serverThatDiesAndComesBackIsFollowed()
    {
        TestEnv env;
        LogCapture log;
        const quint16 port = freePort();
        noToolEnvironment(env, port);
        const QString file = env.root() + QStringLiteral("/state.json");
        QVERIFY(writeFile(file, documentWith(5)));
        auto sim = std::make_unique<SimWeb>();
        QVERIFY(sim->start(port, { QStringLiteral("--state"), file }));

        StateClient client;
        client.start();
        QVERIFY2(log.waitFor(QStringLiteral("connected: 5 msgs, 1 contacts"), 10000), qPrintable(log.dump()));

        // The file changes: the server announces it and the state follows.
        QVERIFY(writeFile(file, documentWith(6)));
        QVERIFY(QTest::qWaitFor([&] { return client.state().messages.size() == 6; }, 5000));

        // A document the decoder refuses counts as the server being away.
        QVERIFY(writeFile(file, "{\"self\": 7}"));
        QVERIFY(log.waitFor(QStringLiteral("offline: "), 10000));
        QCOMPARE(client.state().messages.size(), 6);
        QVERIFY(writeFile(file, documentWith(6)));
        QVERIFY(log.waitFor(QStringLiteral("connected: 6 msgs, 1 contacts"), 10000));

        sim.reset();
        QVERIFY(log.waitFor(QStringLiteral("offline: "), 10000, 2));
        QVERIFY(log.waitFor(QStringLiteral("daemon: spawn failed (binary not found / exec error)"), 10000));
        QCOMPARE(client.connection(), StateClient::Connection::offline);

        QVERIFY(writeFile(file, documentWith(8)));
        sim = std::make_unique<SimWeb>();
        QVERIFY(sim->start(port, { QStringLiteral("--state"), file }));
        QVERIFY2(log.waitFor(QStringLiteral("connected: 8 msgs, 1 contacts"), 10000), qPrintable(log.dump()));
        QCOMPARE(client.connection(), StateClient::Connection::connected);
        QCOMPARE(log.count(QStringLiteral("offline: ")), 2);
    }

private:
    // Environment where an automatic start finds no tool, so only the test's server runs.
    void noToolEnvironment(TestEnv &env, quint16 port)
    {
        env.set("QUILLMOTE_WEB_PORT", QByteArray::number(port));
        env.set("HOME", env.root().toUtf8());
        env.set("QUILLMOTE_BIN", env.root().toUtf8() + "/no-such-tool");
    }
};

QTEST_GUILESS_MAIN(TestStateClient)
#include "tst_stateclient.moc"
