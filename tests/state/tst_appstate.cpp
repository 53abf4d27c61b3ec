#include "core/SettingsStore.h"
#include "state/AppState.h"
#include "state/SessionListModel.h"
#include "state/UnreadTracker.h"
#include "support/TestEnv.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
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

} // namespace

class TestAppState : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_env = std::make_unique<TestEnv>(); }
    void cleanup() { m_env.reset(); }

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

    void filtering_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("empty") << "" << QStringList({ "amy", "bob", "dave", "carol" });
        QTest::newRow("peer, any case, trimmed") << "  CAR " << QStringList({ "carol" });
        QTest::newRow("preview") << "morn" << QStringList({ "bob" });
        QTest::newRow("code in an older message") << "NEEDLE" << QStringList({ "amy" });
        QTest::newRow("across two messages matches nothing") << "hi\x1fmorning" << QStringList();
    }

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

    void selectionSurvivesNewStates_data()
    {
        QTest::addColumn<QString>("selected"); // "" for the profile
        QTest::newRow("peer with messages") << "amy";
        QTest::newRow("unknown peer, as a deep link names it") << "zed";
        QTest::newRow("profile") << "";
    }

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

    // The read marks under the app state.
    void markIsInclusiveAndMillisecondExact()
    {
        UnreadTracker tracker;
        QSignalSpy changed(&tracker, &UnreadTracker::changed);
        tracker.markRead("bob", { at("2024-05-01T09:00:00Z"), at("2024-05-01T10:00:00Z"), at("garbage") });
        QCOMPARE(changed.count(), 1);
        QCOMPARE(tracker.lastReadMillis().value("bob"), 1714557600000.0);

        // The same instant written with a zero fraction is read, one millisecond later is not;
        // once marked, an unparseable time no longer counts.
        QCOMPARE(tracker.unreadCount("bob", { at("2024-05-01T10:00:00.000Z"), at("garbage") }), 0);
        QCOMPARE(tracker.unreadCount("bob", { at("2024-05-01T18:00:00.001+08:00") }), 1);
        // Other peers keep their own (absent) marks.
        QCOMPARE(tracker.unreadCount("amy", { at("2024-05-01T09:00:00Z") }), 1);

        // Nothing parseable: nothing changes.
        tracker.markRead("amy", { at("garbage") });
        QVERIFY(!tracker.lastReadMillis().contains("amy"));
        QCOMPARE(changed.count(), 1);
    }

    void marksNeverMoveBack()
    {
        UnreadTracker tracker;
        tracker.markRead("bob", { at("2024-05-01T10:00:00.500Z") });
        SettingsStore::remove(UnreadTracker::settingsKey); // a write would bring it back
        QSignalSpy changed(&tracker, &UnreadTracker::changed);

        tracker.markRead("bob", { at("2024-05-01T10:00:00Z") });
        tracker.markRead("bob", { at("2024-05-01T10:00:00.500Z") });
        QCOMPARE(changed.count(), 0);
        QVERIFY(!SettingsStore::value(UnreadTracker::settingsKey));
        QCOMPARE(tracker.lastReadMillis().value("bob"), 1714557600500.0);

        tracker.markRead("bob", { at("2024-05-01T10:00:01Z") });
        QCOMPARE(changed.count(), 1);
        QVERIFY(SettingsStore::value(UnreadTracker::settingsKey));
    }

    void storedRecordWithABadValueIsIgnored_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<int>("marks");
        QTest::newRow("numbers") << QVariant(QVariantMap { { "bob", 5.0 }, { "amy", 7 } }) << 2;
        QTest::newRow("one string") << QVariant(QVariantMap { { "bob", 5.0 }, { "amy", "7" } }) << 0;
        QTest::newRow("not a map") << QVariant(QStringLiteral("bob=5")) << 0;
    }

    void storedRecordWithABadValueIsIgnored()
    {
        QFETCH(QVariant, stored);
        QFETCH(int, marks);
        SettingsStore::setValue(UnreadTracker::settingsKey, stored);
        UnreadTracker tracker;
        QCOMPARE(tracker.lastReadMillis().size(), marks);
    }

    void scratchMarksNeitherReadNorWriteTheRecord()
    {
        UnreadTracker stored;
        stored.markRead("bob", { at("2024-05-01T10:00:00Z") });
        const auto record = SettingsStore::value(UnreadTracker::settingsKey);
        QVERIFY(record);

        UnreadTracker scratch(nullptr, UnreadTracker::Storage::scratch);
        QVERIFY(scratch.lastReadMillis().isEmpty());
        scratch.markRead("carol", { at("2024-06-01T10:00:00Z") });
        QCOMPARE(scratch.unreadCount("carol", { at("2024-06-01T10:00:00Z") }), 0);
        QCOMPARE(SettingsStore::value(UnreadTracker::settingsKey), record);
    }

private:
    std::unique_ptr<TestEnv> m_env;
};

QTEST_GUILESS_MAIN(TestAppState)
#include "tst_appstate.moc"
