#include "cli/CLIRunner.h"
#include "state/DaemonManager.h"
#include "state/SSELineSplitter.h"
#include "state/StateClient.h"
#include "support/LogCapture.h"
#include "support/SimWeb.h"
#include "support/TestEnv.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray documentWith(int messages)
{
    QByteArrayList list;
    for (int i = 0; i < messages; ++i)
        list << R"({"id":"m)" + QByteArray::number(i)
                + R"(","peer":"alice","direction":"in","type":"text","createdAt":"2024-01-01T08:00:00Z","content":{"text":"hi"}})";
    return R"({"handle":"me","contacts":[{"handle":"alice","fingerprint":"AB"}],"messages":[)" + list.join(',') + "]}";
}

// A hand-driven state server: answers every "/api/state" with `body` and keeps each
// "/events" connection open so the test writes its bytes itself.
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
    int failing = 0; // state requests still to answer with 500
    QByteArray body = documentWith(1);
    QPointer<QTcpSocket> events;

private:
    void onRequest(QTcpSocket *s)
    {
        const QByteArray head = s->peek(s->bytesAvailable());
        if (!head.contains("\r\n\r\n"))
            return;
        s->readAll();
        if (head.startsWith("GET /events")) {
            ++eventConnections;
            events = s;
            s->write("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nCache-Control: no-cache\r\n\r\n: hi\n\n");
        } else {
            ++stateRequests;
            s->write("HTTP/1.1 " + QByteArray(failing-- > 0 ? "500" : "200")
                + " X\r\nContent-Type: application/json\r\nContent-Length: " + QByteArray::number(body.size())
                + "\r\n\r\n" + body);
        }
        s->flush();
    }
    QTcpServer m_server;
};

// Where an automatic start finds no tool, so only the test's server runs.
void noToolEnvironment(TestEnv &env, quint16 port)
{
    env.set("QUILLMOTE_WEB_PORT", QByteArray::number(port));
    env.set("HOME", env.root().toUtf8());
    env.set("QUILLMOTE_BIN", env.root().toUtf8() + "/no-such-tool");
}

} // namespace

class TestStateClient : public QObject
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

    void eventLines_data()
    {
        QTest::addColumn<QByteArrayList>("chunks");
        QTest::addColumn<int>("changed");
        QTest::newRow("carriage return and line feed") << QByteArrayList { "event: changed\r\n" } << 1;
        QTest::newRow("no blank after the colon") << QByteArrayList { "event:changed\n" } << 1;
        QTest::newRow("blanks around the line") << QByteArrayList { "  event: changed \t\n" } << 1;
        QTest::newRow("payload, comments, other events, other case")
            << QByteArrayList { ": keep-alive\n\nevent: other\ndata: event: changed\nevent: Changed\n" } << 0;
        QTest::newRow("two in one chunk, then a partial one")
            << QByteArrayList { "event: changed\ndata: {}\n\nevent: changed\n\nevent: ch" } << 2;
        QTest::newRow("split across chunks") << QByteArrayList { "event: chan", "ged", "\ndata: {}\n\n" } << 1;
    }

    void eventLines()
    {
        QFETCH(QByteArrayList, chunks);
        QFETCH(int, changed);
        SSELineSplitter lines;
        int seen = 0;
        for (const QByteArray &chunk : chunks)
            seen += lines.feed(chunk);
        QCOMPARE(seen, changed);
    }

    // Each announcement costs one fetch; a stream that ends is opened again.
    void announcementsRefetchOnce()
    {
        TestEnv env;
        LogCapture log;
        ScriptedServer server;
        noToolEnvironment(env, server.port());
        StateClient client;
        client.setPollIntervalForTesting(3600 * 1000);
        client.start();
        QVERIFY(log.waitFor(u"connected: 1 msgs, 1 contacts"_s, 10000));
        QVERIFY(QTest::qWaitFor([&] { return server.eventConnections == 1; }, 5000));
        const int before = server.stateRequests;

        for (int round = 2; round <= 3; ++round) {
            server.body = documentWith(round);
            server.events->write("event: changed\ndata: {}\n\n");
            QVERIFY(QTest::qWaitFor([&] { return client.state().messages.size() == round; }, 5000));
            QCOMPARE(server.stateRequests, before + round - 1);
            if (round == 2) {
                server.events->disconnectFromHost();
                QVERIFY(QTest::qWaitFor([&] { return server.eventConnections == 2; }, 8000));
            }
        }
        // A fetch fails while the server answers the probe: the next fetch waits for the next
        // announcement (or tick), it does not follow at once.
        server.failing = 1;
        server.events->write("event: changed\n\n");
        QVERIFY(log.waitFor(u"daemon: state server already responding"_s, 5000, 2));
        server.body = documentWith(4);
        server.events->write("event: changed\n\n");
        QVERIFY(QTest::qWaitFor([&] { return client.state().messages.size() == 4; }, 5000));
        QCOMPARE(server.stateRequests, before + 5); // the failed fetch, its probe and one fetch
    }

    // Offline and connected are logged once per change, however many polls fail or
    // succeed, and the last good state stays; a byte-identical document is neither decoded
    // nor published again. Numbers of any size in a message's content decode. A document
    // that cannot be decoded costs one fetch per poll: it is decoded once, probes nothing and
    // starts nothing.
    void pollsFollowTheServer()
    {
        TestEnv env;
        LogCapture log;
        ScriptedServer server;
        noToolEnvironment(env, server.port());
        server.body = R"({"messages":[{"id":"m1","peer":"alice","direction":"in","type":"text",)"
                      R"("createdAt":"2024-01-01T08:00:00Z","content":{"n":123456789012345678901234567890,)"
                      R"("huge":-1e400,"small":18446744073709551616}}]})";
        StateClient client;
        QSignalSpy connection(&client, &StateClient::connectionChanged);
        QSignalSpy state(&client, &StateClient::stateChanged);
        client.setPollIntervalForTesting(50);
        client.start();
        QVERIFY(log.contains(u"start: polling http://127.0.0.1:%1"_s.arg(server.port())));
        QVERIFY2(log.waitFor(u"connected: 1 msgs, 0 contacts"_s, 10000), qPrintable(log.dump()));
        const JSONValue &content = client.state().messages[0].content;
        QCOMPARE(content.find(u"n")->toNumber(), 123456789012345678901234567890.0);
        QVERIFY(content.find(u"huge")->isNull());
        QCOMPARE(content.find(u"small")->toNumber(), 18446744073709551616.0);
        const auto polls = [&](int n) {
            const int from = client.fetchCount();
            return QTest::qWaitFor([&] { return client.fetchCount() >= from + n; }, 10000);
        };

        server.failing = 1 << 20;
        QVERIFY(log.waitFor(u"daemon: spawn failed"_s, 10000));
        QVERIFY(polls(3));
        QCOMPARE(log.find(u"offline: "_s).toString(), u"info stateclient offline: bad server response (HTTP 500)"_s);
        QCOMPARE(log.count(u"offline: "_s), 1);
        QCOMPARE(client.state().messages.size(), 1);

        server.failing = 0;
        QVERIFY(log.waitFor(u"connected: "_s, 10000, 2));
        QVERIFY(polls(3));
        QCOMPARE(log.count(u"connected: "_s), 2);
        QCOMPARE(state.size(), 1);
        QCOMPARE(client.decodeCount(), 1);

        server.body = "{\"self\": 7}";
        QVERIFY(log.waitFor(u"offline: cannot decode the state document"_s, 10000));
        const int requests = server.stateRequests, fetches = client.fetchCount(), decodes = client.decodeCount();
        const int probes = log.count(u"daemon: "_s);
        QVERIFY(polls(10));
        // At most the one request in flight when counting began beyond the fetches.
        QVERIFY2(server.stateRequests - requests <= client.fetchCount() - fetches + 1,
            qPrintable(u"%1 requests for %2 fetches"_s.arg(server.stateRequests - requests)
                           .arg(client.fetchCount() - fetches)));
        QCOMPARE(client.decodeCount(), decodes);
        QCOMPARE(log.count(u"daemon: "_s), probes);
        QCOMPARE(log.count(u"offline: "_s), 2);
        QCOMPARE(connection.size(), 4);
        for (int i = 0; i < connection.size(); ++i)
            QCOMPARE(connection[i][0].value<StateClient::Connection>(),
                i % 2 ? StateClient::Connection::offline : StateClient::Connection::connected);
    }

    // A silent server is started; a second start while the child runs starts nothing; once
    // it exits, the termination handler forgets it and the next call starts a new one.
    void startSpawnsTheServerAndReusesTheChild()
    {
        TestEnv env;
        LogCapture log;
        const quint16 port = freePort();
        env.set("QUILLMOTE_WEB_PORT", QByteArray::number(port));
        env.set("QUILLMOTE_BIN", simPath().toUtf8());
        StateClient client;
        client.start();
        QVERIFY2(log.waitFor(u"connected: 13 msgs, 4 contacts"_s, 20000), qPrintable(log.dump()));
        QVERIFY(log.contains(u"daemon: state server silent — attempting to spawn `quillmote web`"_s));
        const std::optional<pid_t> pid = DaemonManager::shared().childPid();
        QVERIFY(pid);
        QCOMPARE(log.find(u"daemon: spawned `"_s).toString(),
            u"info stateclient daemon: spawned `%1 web --port %2` (pid %3)"_s.arg(simPath()).arg(port).arg(*pid));
        QVERIFY(log.contains(u"daemon: spawned server is now responding"_s));

        QVERIFY(DaemonManager::shared().spawnWebServer(port, Log::Category::stateclient));
        QVERIFY(log.contains(u"daemon: our web-server child is already running (pid %1); not re-spawning"_s.arg(*pid)));
        QCOMPARE(DaemonManager::shared().childPid(), pid);

        QVERIFY(killAndWait(*pid));
        QVERIFY(QTest::qWaitFor([] { return !DaemonManager::shared().childPid(); }, 5000));
        QVERIFY(DaemonManager::shared().spawnWebServer(port, Log::Category::stateclient));
        const std::optional<pid_t> second = DaemonManager::shared().childPid();
        QVERIFY(second && *second != *pid);
        QCOMPARE(log.count(u"daemon: spawned `"_s), 2);
    }
};

QTEST_GUILESS_MAIN(TestStateClient)
#include "tst_stateclient.moc"
