#include "cli/CLIRunner.h"
#include "core/SettingsStore.h"
#include "state/AppState.h"
#include "state/DaemonManager.h"
#include "state/SSELineSplitter.h"
#include "state/SessionListModel.h"
#include "state/StateClient.h"
#include "state/UnreadTracker.h"
#include "support/LogCapture.h"
#include "support/SimWeb.h"
#include "support/Table.h"
#include "support/TestEnv.h"
#include "ui/ConversationModel.h"
#include "ui/MainViewModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

Message msg(const QString &id, const QString &peer, const QString &createdAt,
    const QByteArray &content = R"({"text":"hi"})", const QString &direction = "in", const QString &type = "text")
{
    return Message { id, peer, direction, type, std::nullopt, createdAt, *JSONValue::fromJson(content) };
}

Contact contactOf(const QString &handle)
{
    return Contact { handle, "F-" + handle, u"connected"_s };
}

template<typename T, typename Field> QStringList collect(const QList<T> &list, Field field)
{
    QStringList out;
    for (const T &item : list)
        out.append(item.*field);
    return out;
}

QStringList peers(const QList<Session> &sessions)
{
    return collect(sessions, &Session::peer);
}

// A message from bob at that time.
Message at(const QString &createdAt)
{
    return msg("m", "bob", createdAt);
}

// A time on 4 March 2023 (plus `days`) in the machine's zone, as the document writes it.
QString local(int days, int hour)
{
    return QDateTime(QDate(2023, 3, 4 + days), QTime(hour, 0)).toUTC().toString(Qt::ISODate);
}

PanelState sample()
{
    PanelState s;
    s.contacts = { contactOf("bob"), contactOf("carol") };
    s.messages = {
        msg("b1", "bob", "2024-05-01T10:00:00Z", R"({"text":"Morning"})"),
        msg("a1", "amy", "2024-05-01T11:00:00Z",
            R"({"parts":[{"kind":"code","code":"SELECT needle FROM t","lang":"sql"}]})"),
        msg("a2", "amy", "2024-05-01T12:00:00Z", R"({"text":"later"})", "out"),
        msg("b2", "bob", "2024-05-01T09:00:00Z", R"({"text":"Earlier but later in the document"})"),
        msg("d1", "dave", "not a date", R"({"text":"undated"})"),
    };
    return s;
}

QByteArray documentWith(int messages)
{
    QByteArrayList list;
    for (int i = 0; i < messages; ++i)
        list << R"({"id":"m)" + QByteArray::number(i)
                + R"(","peer":"alice","direction":"in","type":"text","createdAt":"2024-01-01T08:00:00Z","content":{"text":"hi"}})";
    return R"({"handle":"me","contacts":[{"handle":"alice","fingerprint":"AB"}],"messages":[)" + list.join(',') + "]}";
}

// A hand-driven state server: answers every "/api/state" with `body` and keeps each
// "/events" connection open so the test writes its bytes itself. The environment points at
// it and finds no tool to start, so only this server runs.
class ScriptedServer : public QObject
{
public:
    explicit ScriptedServer(TestEnv &env)
    {
        m_server.listen(QHostAddress::LocalHost, 0);
        env.set("QUILLMOTE_WEB_PORT", QByteArray::number(port()));
        env.set("HOME", env.root().toUtf8());
        env.set("QUILLMOTE_BIN", env.root().toUtf8() + "/no-such-tool");
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

} // namespace

// The app state derived from documents, the read marks under it and the models over it;
// the client that fetches the documents from the state server.
class TestState : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnv>();
        CLIRunner::resetCacheForTesting();
    }
    void cleanup()
    {
        // Whatever a test left running is stopped here.
        if (const auto pid = DaemonManager::shared().childPid())
            killAndWait(*pid);
        m_env.reset();
    }

    void sessionsNewestFirstConversationsOldestFirst()
    {
        AppState app;
        PanelState s = sample();
        app.setState(s);
        // dave's only message has no usable time (0); carol has no messages and sorts last.
        QCOMPARE(peers(app.sessions()), QStringList({ "amy", "bob", "dave", "carol" }));
        QCOMPARE(app.sessions()[0].last->id, "a2");
        QCOMPARE(app.sessions()[1].last->id, "b1"); // the dated newest, not the last in the document
        QCOMPARE(app.sessions()[1].contact->handle, "bob");
        QCOMPARE(app.preview("amy"), "later");

        // b3 has b1's time: of equal times the later in the document is the session's newest.
        s.messages.append(msg("b3", "bob", "2024-05-01T10:00:00.000Z"));
        AppState fresh;
        fresh.setState(s);
        QCOMPARE(collect(fresh.conversation("bob"), &Message::id), QStringList({ "b2", "b1", "b3" }));
        QCOMPARE(fresh.sessions()[1].last->id, "b3");
        QCOMPARE(fresh.preview("bob"), "hi");
    }

    void filtering_data() { Table::load<QString, QStringList>({ "search", "expected" }); }

    void filtering()
    {
        QFETCH(QString, search);
        QFETCH(QStringList, expected);
        AppState app;
        app.setState(sample());
        app.setSearchText(search);
        QCOMPARE(peers(app.filteredSessions()), expected);
    }

    void derivedTextsFollowChangedMessages()
    {
        AppState app;
        PanelState s = sample();
        app.setState(s);
        app.setSearchText("walrus");
        QVERIFY(app.filteredSessions().isEmpty());

        // Same id, new content: its search text and the preview are derived again.
        s.messages[0].content = *JSONValue::fromJson(R"({"text":"Walrus sighted"})");
        QSignalSpy filtered(&app, &AppState::filteredSessionsChanged);
        app.setState(s);
        QCOMPARE(filtered.count(), 1);
        QCOMPARE(peers(app.filteredSessions()), QStringList({ "bob" }));
        QCOMPARE(app.preview("bob"), "Walrus sighted");

        // A change of blanks or case only does not re-filter.
        app.setSearchText(" WALRUS");
        QCOMPARE(filtered.count(), 1);
    }

    // "" selects the profile.
    void selectionSurvivesNewStates_data() { Table::load<QString>({ "selected" }); }

    void selectionSurvivesNewStates()
    {
        QFETCH(QString, selected);
        AppState app;
        const auto selection
            = selected.isEmpty() ? DetailSelection::profile() : DetailSelection::conversation(selected);
        app.setSelection(selection);
        QSignalSpy changed(&app, &AppState::selectionChanged);
        app.setState(sample());
        app.setState(PanelState {});
        QCOMPARE(changed.count(), 0);
        QVERIFY(app.selection() == selection);
    }

    void selectingAndNewMessagesMarkRead()
    {
        AppState app;
        app.setState(sample());
        QSignalSpy unread(&app, &AppState::unreadChanged);
        // Only received messages count; never-marked peers count all of them.
        QCOMPARE(app.unreadCount("amy"), 1);
        QCOMPARE(app.unreadCount("bob"), 2);
        QCOMPARE(app.totalUnread(), 4); // dave's too

        app.setSelection(DetailSelection::conversation("bob"));
        QCOMPARE(unread.count(), 1);
        QCOMPARE(app.unreadCount("bob"), 0);
        QCOMPARE(app.unreadCount("amy"), 1);

        // A new message in the selected conversation is read at once; elsewhere it is not.
        PanelState s = sample();
        s.messages.append(msg("b9", "bob", "2024-05-02T10:00:00Z"));
        s.messages.append(msg("a9", "amy", "2024-05-02T10:00:00Z"));
        app.setState(s);
        QCOMPARE(app.unreadCount("bob"), 0);
        QCOMPARE(app.unreadCount("amy"), 2);

        // The marks outlive the app state.
        AppState again;
        again.setState(s);
        QCOMPARE(again.unreadCount("bob"), 0);
    }

    void submittedStatesAreDerivedAwayAndCollapseToTheNewest()
    {
        AppState app;
        QSignalSpy changed(&app, &AppState::stateChanged);
        PanelState s = sample();
        app.submitState(s);
        QVERIFY(app.sessions().isEmpty()); // nothing is derived on the caller's thread
        for (const char *id : { "x1", "x2", "x3" }) {
            s.messages.append(msg(id, "zoe", "2024-06-01T10:00:00Z"));
            app.submitState(s);
        }
        QTRY_COMPARE(app.state().messages.size(), 8);
        QCOMPARE(changed.count(), 2); // the first, then only the newest of the three behind it
        QCOMPARE(app.sessions().first().peer, "zoe");
        QCOMPARE(app.unreadCount("zoe"), 3);

        // A state taken at once outdates whatever is still being derived: of the three only
        // the state taken at once and the one submitted after it are published.
        app.submitState(sample());
        changed.clear();
        app.setState(PanelState {});
        PanelState last;
        last.messages = { msg("z1", "zed", "2024-06-02T10:00:00Z") };
        app.submitState(last);
        QTRY_COMPARE(peers(app.sessions()), QStringList { "zed" });
        QCOMPARE(changed.count(), 2);
    }

    void listModelChangesRowsInPlace()
    {
        AppState app;
        SessionListModel model(&app);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        const auto rows = [&] {
            QStringList out;
            for (int i = 0; i < model.rowCount(); ++i)
                out << model.data(model.index(i), SessionListModel::PeerRole).toString();
            return out;
        };
        app.setState(sample());
        QCOMPARE(rows(), peers(app.filteredSessions()));
        const QModelIndex amy = model.index(0);
        QCOMPARE(model.data(amy, SessionListModel::PreviewRole).toString(), "later");
        QCOMPARE(model.data(amy, SessionListModel::UnreadRole).toInt(), 1);

        // bob writes again (moves up, new preview), dave is gone, eve is new.
        const QPersistentModelIndex carol = model.index(3);
        PanelState s = sample();
        s.messages.removeIf([](const Message &m) { return m.peer == "dave"; });
        s.messages.append(msg("b9", "bob", "2024-05-02T10:00:00Z", R"({"text":"news"})"));
        s.messages.append(msg("e1", "eve", "2024-05-01T11:30:00Z"));
        app.setState(s);
        QCOMPARE(rows(), QStringList({ "bob", "amy", "eve", "carol" }));
        QCOMPARE(model.data(model.index(0), SessionListModel::PreviewRole).toString(), "news");
        QCOMPARE(carol.row(), 3);

        app.setSearchText("needle");
        QCOMPARE(rows(), QStringList({ "amy" }));
        app.setSearchText("");
        QCOMPARE(rows(), peers(app.filteredSessions()));
        QCOMPARE(reset.count(), 0);

        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        app.setSelection(DetailSelection::conversation("amy"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(model.data(model.index(1), SessionListModel::UnreadRole).toInt(), 0);
    }

    // Alice's conversation: newest first; the oldest message of each day carries the day's
    // label. A new message is inserted and a changed one updated in place; one gone from the
    // middle rebuilds.
    void conversationHasOneSeparatorPerDay()
    {
        AppState app;
        PanelState s;
        s.messages
            = { msg("b", "alice", local(0, 12)), msg("a", "alice", local(0, 9)), msg("c", "alice", local(1, 8)) };
        app.setState(s);
        ConversationModel model(app, nullptr);
        model.setPeer("alice");
        const auto column = [&](int role) {
            QStringList out;
            for (int i = 0; i < model.rowCount(); ++i)
                out << model.data(model.index(i), role).toString();
            return out;
        };
        QCOMPARE(column(ConversationModel::IdRole), QStringList({ "c", "b", "a" }));
        QCOMPARE(column(ConversationModel::SeparatorRole), QStringList({ "2023年3月5日", "", "2023年3月4日" }));
        QCOMPARE(column(ConversationModel::TimeRole).last(), "09:00");

        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QSignalSpy inserts(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        s.messages[1].status = u"read"_s;
        s.messages.append(msg("d", "alice", local(1, 11)));
        app.setState(s);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(inserts.count(), 1);
        QCOMPARE(inserts[0][1].toInt(), 0);
        QCOMPARE(column(ConversationModel::IdRole), QStringList({ "d", "c", "b", "a" }));
        QCOMPARE(column(ConversationModel::StatusRole)[3], "read");
        QVERIFY(!changes.isEmpty());

        s.messages.removeFirst();
        app.setState(s);
        QCOMPARE(resets.count(), 1);
        QCOMPARE(model.rowCount(), 3);

        // A file part carries its size for display but not its raw data.
        s.messages = { msg("f", "alice", local(0, 9), R"({"parts":[{"kind":"file","bytes":2048,"data":"QUJD"}]})") };
        app.setState(s);
        const QVariantMap part = model.data(model.index(0), ConversationModel::PartsRole).toList().value(0).toMap();
        QCOMPARE(part.value("size").toString(), u"2.0 KB"_s);
        QVERIFY(!part.contains("dataBase64"));
    }

    void profileGroupsContactsByStatus()
    {
        AppState app;
        PanelState s;
        s.contacts = { contactOf("bob"), Contact { "dan", "F2", std::nullopt }, Contact { "carol", "F3", u"pending"_s },
            Contact { "eve", "F4", u"blocked"_s } };
        app.setState(s);
        MainViewModel vm(app, nullptr, nullptr);
        const auto handles = [](const QVariantList &rows) {
            QStringList out;
            for (const QVariant &r : rows)
                out << r.toMap().value("handle").toString() + ":" + r.toMap().value("note").toString();
            return out;
        };
        QCOMPARE(handles(vm.contacts()), QStringList({ "bob:已连接", "dan:已连接" }));
        QCOMPARE(handles(vm.otherContacts()), QStringList({ "carol:待对方确认", "eve:已屏蔽" }));
    }

    // The read marks under the app state.
    // Marks are inclusive and exact to the millisecond and never move back (nor write then);
    // a scratch tracker neither reads nor writes the stored record.
    void readMarks()
    {
        UnreadTracker tracker;
        QSignalSpy changed(&tracker, &UnreadTracker::changed);
        tracker.markRead("bob", { at("2024-05-01T09:00:00Z"), at("2024-05-01T10:00:00.500Z"), at("garbage") });
        QCOMPARE(changed.count(), 1);
        QCOMPARE(tracker.lastReadMillis().value("bob"), 1714557600500.0);
        // Once marked, an unparseable time no longer counts.
        QCOMPARE(tracker.unreadCount("bob", { at("2024-05-01T18:00:00.500+08:00"), at("garbage") }), 0);
        QCOMPARE(tracker.unreadCount("bob", { at("2024-05-01T10:00:00.501Z") }), 1);
        QCOMPARE(tracker.unreadCount("amy", { at("2024-05-01T09:00:00Z") }), 1);

        SettingsStore::remove(UnreadTracker::settingsKey); // a write would bring it back
        tracker.markRead("amy", { at("garbage") });
        tracker.markRead("bob", { at("2024-05-01T10:00:00Z") });
        tracker.markRead("bob", { at("2024-05-01T10:00:00.500Z") });
        QVERIFY(!tracker.lastReadMillis().contains("amy"));
        QCOMPARE(changed.count(), 1);
        QVERIFY(!SettingsStore::value(UnreadTracker::settingsKey));
        tracker.markRead("bob", { at("2024-05-01T10:00:01Z") });
        QCOMPARE(changed.count(), 2);
        const auto record = SettingsStore::value(UnreadTracker::settingsKey);
        QVERIFY(record);

        UnreadTracker scratch(nullptr, UnreadTracker::Storage::scratch);
        QVERIFY(scratch.lastReadMillis().isEmpty());
        scratch.markRead("carol", { at("2024-06-01T10:00:00Z") });
        QCOMPARE(scratch.unreadCount("carol", { at("2024-06-01T10:00:00Z") }), 0);
        QCOMPARE(SettingsStore::value(UnreadTracker::settingsKey), record);
    }

    void storedRecordWithABadValueIsIgnored_data() { Table::load<QVariant, int>({ "stored", "marks" }); }

    void storedRecordWithABadValueIsIgnored()
    {
        QFETCH(QVariant, stored);
        QFETCH(int, marks);
        SettingsStore::setValue(UnreadTracker::settingsKey, stored);
        UnreadTracker tracker;
        QCOMPARE(tracker.lastReadMillis().size(), marks);
    }

    void eventLines_data() { Table::load<QByteArrayList, int>({ "chunks", "changed" }); }

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
        LogCapture log;
        ScriptedServer server(*m_env);
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
    // nor published again. A document that cannot be decoded costs one fetch per poll: it is
    // decoded once, probes nothing and starts nothing.
    void pollsFollowTheServer()
    {
        LogCapture log;
        ScriptedServer server(*m_env);
        StateClient client;
        QSignalSpy connection(&client, &StateClient::connectionChanged);
        QSignalSpy state(&client, &StateClient::stateChanged);
        client.setPollIntervalForTesting(50);
        client.start();
        QVERIFY(log.contains(u"start: polling http://127.0.0.1:%1"_s.arg(server.port())));
        QVERIFY2(log.waitFor(u"connected: 1 msgs, 1 contacts"_s, 10000), qPrintable(log.dump()));
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
        LogCapture log;
        const quint16 port = freePort();
        m_env->set("QUILLMOTE_WEB_PORT", QByteArray::number(port));
        m_env->set("QUILLMOTE_BIN", simPath().toUtf8());
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

private:
    std::unique_ptr<TestEnv> m_env;
};

QTEST_GUILESS_MAIN(TestState)
#include "tst_state.moc"
