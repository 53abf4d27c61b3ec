// The searches behind pickers and completion, against the tool's recorded answers.
#include "fakes/FakeToolRunner.h"
#include "intents/EntityQueries.h"
#include "intents/ToolRunner.h"
#include "support/LogCapture.h"

#include <QTest>

using Kind = EntityQueries::Kind;

namespace {

QList<IntentEntity> await(const std::function<void(EntityQueries::Done)> &start)
{
    std::optional<QList<IntentEntity>> out;
    start([&](const QList<IntentEntity> &r) { out = r; });
    if (!QTest::qWaitFor([&] { return out.has_value(); }, 15000))
        return { { "test", "no answer" } };
    return *out;
}

QStringList ids(const QList<IntentEntity> &entities)
{
    QStringList out;
    for (const IntentEntity &e : entities)
        out << e.id;
    return out;
}

struct World {
    FakeToolRunner tool;
    EntityQueries queries { tool };
    const QList<QStringList> &argvs() const { return tool.argvs; }
};

} // namespace

class TestEntityQueries : public QObject
{
    Q_OBJECT
private Q_SLOTS:

    void friendsAndRequestsComeFromTheTool()
    {
        World world;
        world.tool.answers["friends"] = R"({"friends":["Abby","bob","cab"]})";
        world.tool.answers["requests"] = R"({"requests":["carol","dan"]})";

        QCOMPARE(await([&](auto done) { world.queries.matching(Kind::friends, "@AB ", done); }),
            (QList<IntentEntity> { { "Abby", "@Abby" }, { "cab", "@cab" } }));
        QCOMPARE(ids(await([&](auto done) { world.queries.suggested(Kind::friendRequests, done); })),
            (QStringList { "carol", "dan" }));
        QCOMPARE(world.argvs(), (QList<QStringList> { { "friends", "--json" }, { "requests", "--json" } }));
        // Saved identifiers of friends who are gone resolve to nothing.
        QCOMPARE(ids(await([&](auto done) {
            world.queries.entitiesFor(Kind::friends, { "bob", "gone", "Abby" }, done);
        })),
            (QStringList { "bob", "Abby" }));
    }

    void inboxMessagesShowSenderAndText()
    {
        World world;
        const QList<IntentEntity> all = await([&](auto done) { world.queries.suggested(Kind::inboxMessages, done); });
        QCOMPARE(
            all, (QList<IntentEntity> { { "in-1", "@alice：hello from alice" }, { "in-2", "@bob：（结构化消息）" } }));
        QCOMPARE(ids(await([&](auto done) { world.queries.matching(Kind::inboxMessages, "HELLO", done); })),
            QStringList { "in-1" });
        QCOMPARE(world.argvs().first(), (QStringList { "inbox", "--once", "--json" }));
    }

    void toolFailureIsOneLineAndAnEmptyList()
    {
        World world;
        world.tool.failure = CLIResult { 1, {}, "not logged in\n" };
        LogCapture log;
        QCOMPARE(
            await([&](auto done) { world.queries.matching(Kind::friendRequests, "a", done); }), QList<IntentEntity> {});
        const QString line = "FriendRequestQuery: requests --json failed: not logged in";
        QCOMPARE(log.count(line), 1);
        QCOMPARE(log.find(line).level, QStringLiteral("error"));
    }
};

QTEST_GUILESS_MAIN(TestEntityQueries)
#include "tst_entityqueries.moc"
