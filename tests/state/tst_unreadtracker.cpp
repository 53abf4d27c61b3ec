#include "core/SettingsStore.h"
#include "state/UnreadTracker.h"
#include "support/TestEnv.h"

#include <QSignalSpy>
#include <QTest>

namespace {

Message at(const QString &createdAt)
{
    static int n = 0;
    return Message { QStringLiteral("m%1").arg(++n), "bob", "in", "text", std::nullopt, createdAt, JSONValue::null() };
}

} // namespace

class TestUnreadTracker : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_env = std::make_unique<TestEnv>(); }
    void cleanup() { m_env.reset(); }

    void markIsInclusiveAndMillisecondExact()
    {
        UnreadTracker tracker;
        QSignalSpy changed(&tracker, &UnreadTracker::changed);
        tracker.markRead("bob", { at("2024-05-01T09:00:00Z"), at("2024-05-01T10:00:00Z"), at("garbage") });
        QCOMPARE(changed.count(), 1);
        QCOMPARE(tracker.lastReadMillis().value("bob"), 1714557600000.0);

        // The same instant written with a zero fraction is read; one millisecond later is not.
        QCOMPARE(tracker.unreadCount("bob", { at("2024-05-01T10:00:00.000Z") }), 0);
        QCOMPARE(tracker.unreadCount("bob", { at("2024-05-01T10:00:00.001Z") }), 1);
        QCOMPARE(tracker.unreadCount("bob", { at("2024-05-01T18:00:00.001+08:00") }), 1);
        // Once marked, an unparseable time no longer counts.
        QCOMPARE(tracker.unreadCount("bob", { at("garbage") }), 0);
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
        QSignalSpy changed(&scratch, &UnreadTracker::changed);
        scratch.markRead("carol", { at("2024-06-01T10:00:00Z") });
        QCOMPARE(changed.count(), 1);
        QCOMPARE(scratch.unreadCount("carol", { at("2024-06-01T10:00:00Z") }), 0);
        QCOMPARE(SettingsStore::value(UnreadTracker::settingsKey), record);
    }

private:
    std::unique_ptr<TestEnv> m_env;
};

QTEST_GUILESS_MAIN(TestUnreadTracker)
#include "tst_unreadtracker.moc"
