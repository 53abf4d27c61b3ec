// The actions against the tool's recorded answers: argument vectors, confirmations, the
// gate, the dialogs and log lines, and how tool failures reach the user.
#include "core/SettingsStore.h"
#include "fakes/FakeAuthGate.h"
#include "fakes/FakeConfirmer.h"
#include "fakes/FakeToolRunner.h"
#include "intents/IntentsService.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using Values = QVariantMap;

namespace {

IntentResult performAndWait(IntentsService &service, const QString &name, const Values &values)
{
    std::optional<IntentResult> result;
    service.perform(name, values, [&](const IntentResult &r) { result = r; });
    if (!QTest::qWaitFor([&] { return result.has_value(); }, 15000))
        return IntentResult::failed(QStringLiteral("test: no answer"));
    return *result;
}

// The tool, a confirmer and a gate that answer as each test sets them.
struct World {
    TestEnv env;
    FakeToolRunner tool;
    FakeConfirmer confirmer;
    FakeAuthGate gate;
    IntentsService service { confirmer, gate, &tool };
    const QList<QStringList> &argvs() const { return tool.argvs; }
};

} // namespace

class TestIntents : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // One row per action and variant, in tests/data/intents.json.
    void everyActionRunsItsCommandAndAnswers_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Values>("values");
        QTest::addColumn<QStringList>("argv");
        QTest::addColumn<QString>("confirmation"); // "text|label", empty: none asked
        QTest::addColumn<QString>("dialog");
        QTest::addColumn<QString>("logLine");
        QFile file(sourceDir() + QStringLiteral("/tests/data/intents.json"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        for (const QJsonValue &v : QJsonDocument::fromJson(file.readAll()).array()) {
            const QJsonObject row = v.toObject();
            QTest::newRow(qPrintable(row["row"].toString()))
                << row["intent"].toString() << row["values"].toObject().toVariantMap()
                << row["argv"].toVariant().toStringList() << row["confirmation"].toString() << row["dialog"].toString()
                << row["log"].toString();
        }
    }

    void everyActionRunsItsCommandAndAnswers()
    {
        QFETCH(QString, name);
        QFETCH(Values, values);
        QFETCH(QStringList, argv);
        QFETCH(QString, confirmation);
        QFETCH(QString, dialog);
        QFETCH(QString, logLine);

        // With the gate switched on (and letting everything through), exactly the four
        // sensitive actions ask it, each with its own reason.
        static const QMap<QString, QString> gated { { "ConnectIntent", "发起好友申请" },
            { "ApproveIntent", "批准好友申请" }, { "BlockIntent", "屏蔽用户" }, { "UnfriendIntent", "解除好友" } };
        const QString reason = gated.value(name);

        World world;
        SettingsStore::setFlag(SettingsStore::Key::biometricGate, true);
        LogCapture log;

        const IntentResult result = performAndWait(world.service, name, values);
        QCOMPARE(world.gate.reasons, reason.isEmpty() ? QStringList {} : QStringList { reason });
        QCOMPARE(log.count("BiometricGate: authorized action=" + reason), reason.isEmpty() ? 0 : 1);
        QCOMPARE(result.error.message, QString());
        QCOMPARE(result.dialog, dialog);
        QCOMPARE(world.argvs(), QList<QStringList> { argv });
        QCOMPARE(log.count(logLine), 1);
        QCOMPARE(log.find(logLine).level, QStringLiteral("info"));
        if (confirmation.isEmpty()) {
            QVERIFY(world.confirmer.asked.isEmpty());
        } else {
            QCOMPARE(world.confirmer.asked.size(), 1);
            QCOMPARE(world.confirmer.asked[0].first + "|" + world.confirmer.asked[0].second, confirmation);
        }
    }

    void emptyListsAnswerWithTheirOwnSentence_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("dialog");
        QTest::newRow("inbox") << "ListInboxIntent"
                               << "收件箱为空。";
        QTest::newRow("friends") << "FriendsIntent"
                                 << "你还没有好友。用「发起好友申请」添加一位。";
        QTest::newRow("requests") << "RequestsIntent"
                                  << "没有待处理的好友申请。";
        QTest::newRow("contacts") << "ContactsIntent"
                                  << "还没有联系人。";
        QTest::newRow("shares") << "SharesIntent"
                                << "还没有分享。";
        QTest::newRow("devices") << "DevicesIntent"
                                 << "还没有配对的设备。";
    }

    void emptyListsAnswerWithTheirOwnSentence()
    {
        QFETCH(QString, name);
        QFETCH(QString, dialog);
        World world;
        for (const char *list : { "friends", "requests", "contacts", "shares", "devices" })
            world.tool.answers[list] = QByteArray("{\"") + list + "\":[]}";
        world.tool.answers["inbox"] = "[]";
        QCOMPARE(performAndWait(world.service, name, {}), IntentResult::completed(dialog));
    }

    void toolFailureBecomesTheRunnersText()
    {
        World world;
        world.tool.failure = CLIResult { 1, {}, "  relay unreachable  \n" };
        LogCapture log;
        QCOMPARE(performAndWait(world.service, "SendMessageIntent", { { "handle", "alice" }, { "text", "hi" } }),
            IntentResult::failed("relay unreachable"));
        // A failed action logs no success line.
        QCOMPARE(log.count("SendMessageIntent: "), 0);
    }

    void declinedConfirmationRunsNothing()
    {
        World world;
        SettingsStore::setFlag(SettingsStore::Key::biometricGate, true);
        world.confirmer.accept = false;
        LogCapture log;

        QCOMPARE(performAndWait(world.service, "UnfriendIntent", { { "handle", "bob" } }), IntentResult::cancelled());
        QCOMPARE(world.confirmer.asked.size(), 1);
        QVERIFY(world.gate.reasons.isEmpty());
        QVERIFY(world.argvs().isEmpty());
        QVERIFY2(log.lines().isEmpty(), qPrintable(log.dump()));
    }

    void gateComesAfterConfirmation_data()
    {
        QTest::addColumn<bool>("gateOn");
        QTest::addColumn<int>("answer"); // AuthGate::Answer::Kind
        QTest::addColumn<QString>("gateLine");
        QTest::addColumn<bool>("ran");

        QTest::newRow("off") << false << int(AuthGate::Answer::Kind::denied) << QString() << true;
        QTest::newRow("authorized") << true << int(AuthGate::Answer::Kind::authorized)
                                    << "BiometricGate: authorized action=屏蔽用户" << true;
        QTest::newRow("denied") << true << int(AuthGate::Answer::Kind::denied)
                                << "BiometricGate: denied (not authorized) action=屏蔽用户" << false;
        QTest::newRow("dismissed") << true << int(AuthGate::Answer::Kind::failed)
                                   << "BiometricGate: failed action=屏蔽用户 error=dismissed by the user" << false;
    }

    void gateComesAfterConfirmation()
    {
        QFETCH(bool, gateOn);
        QFETCH(int, answer);
        QFETCH(QString, gateLine);
        QFETCH(bool, ran);

        World world;
        if (gateOn)
            SettingsStore::setFlag(SettingsStore::Key::biometricGate, true);
        world.gate.answer = { AuthGate::Answer::Kind(answer), QStringLiteral("dismissed by the user") };
        LogCapture log;

        const IntentResult result = performAndWait(world.service, "BlockIntent", { { "handle", "mallory" } });
        QCOMPARE(world.confirmer.asked,
            (QList<QPair<QString, QString>> { { "确认屏蔽 @mallory？屏蔽后对方无法再给你发消息。", "继续" } }));
        QCOMPARE(world.gate.reasons, gateOn ? QStringList { "屏蔽用户" } : QStringList {});
        QCOMPARE(log.count("BiometricGate"), gateLine.isEmpty() ? 0 : 1);
        if (!gateLine.isEmpty()) {
            QCOMPARE(log.count(gateLine), 1);
            QCOMPARE(log.find(gateLine).level, ran ? QStringLiteral("info") : QStringLiteral("error"));
        }
        // A failed gate is not an error: the action answers that it was cancelled.
        QCOMPARE(result, IntentResult::completed(ran ? "已屏蔽 @mallory。" : "已取消：未通过 Touch ID 验证。"));
        const QList<QStringList> argvs
            = ran ? QList<QStringList> { { "block", "mallory", "--json" } } : QList<QStringList> {};
        QCOMPARE(world.argvs(), argvs);
    }

    void missingParameterRunsNothing()
    {
        World world;
        QCOMPARE(performAndWait(world.service, "send-message", { { "handle", "@" }, { "text", "x" } }),
            IntentResult::failed("缺少参数「收件人 handle」。"));
        QCOMPARE(performAndWait(world.service, "AcceptStrangers", { { "enabled", "maybe" } }),
            IntentResult::failed("参数「接收陌生人消息（on/off）」应为 on 或 off。"));
        QCOMPARE(performAndWait(world.service, "Share", { { "text", "x" }, { "days", "soon" } }),
            IntentResult::failed("参数「有效天数（1-30，可选）」应为整数。"));
        QVERIFY(world.confirmer.asked.isEmpty());
        QVERIFY(world.argvs().isEmpty());
    }

    void doctorAnswersOnlyFromOk()
    {
        World world;
        world.tool.answers["doctor"] = R"({"ok":false,"checks":[{"name":"relay","ok":false}]})";
        QCOMPARE(performAndWait(world.service, "DoctorIntent", {}),
            IntentResult::completed("体检发现问题，建议在终端跑 quillmote doctor 查看详情。"));
    }
};

QTEST_GUILESS_MAIN(TestIntents)
#include "tst_intents.moc"
