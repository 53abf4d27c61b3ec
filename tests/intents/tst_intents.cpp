// The actions against the tool's recorded answers: argument vectors, confirmations, the
// gate, the dialogs and log lines, and how tool failures reach the user.
#include "core/SettingsStore.h"
#include "fakes/FakeAuthGate.h"
#include "fakes/FakeConfirmer.h"
#include "fakes/FakeToolRunner.h"
#include "intents/IntentsService.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

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
    void everyActionRunsItsCommandAndAnswers_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Values>("values");
        QTest::addColumn<QStringList>("argv");
        QTest::addColumn<QString>("confirmation"); // "text|label", empty: none asked
        QTest::addColumn<QString>("dialog");
        QTest::addColumn<QString>("logLine");

        QTest::newRow("send") << "SendMessageIntent" << Values { { "handle", "@alice" }, { "text", "你好" } }
                              << QStringList { "send", "alice", "你好", "--json", "--yes" }
                              << "确认给 @alice 发送：你好|发送"
                              << "已发送给 @alice。"
                              << "SendMessageIntent: sent to @alice";
        QTest::newRow("reply") << "ReplyIntent" << Values { { "handle", "bob" }, { "text", "收到" } }
                               << QStringList { "send", "bob", "收到", "--json", "--yes" } << "确认回复 @bob：收到|发送"
                               << "已回复 @bob。"
                               << "ReplyIntent: replied to @bob";
        QTest::newRow("inbox") << "ListInboxIntent" << Values {} << QStringList { "inbox", "--once", "--json" } << ""
                               << "收件箱有 2 条消息。\n@alice：hello from alice\n@bob：（结构化消息）"
                               << "ListInboxIntent: 2 message(s)";
        QTest::newRow("claim") << "ClaimIntent" << Values { { "shareId", "sh_9" }, { "code", "1234" } }
                               << QStringList { "claim", "sh_9", "1234", "--json" } << ""
                               << "已领取来自 @alice 的分享。"
                               << "ClaimIntent: sh_9 ok=true";
        QTest::newRow("connect pending") << "ConnectIntent" << Values { { "handle", "zed" } }
                                         << QStringList { "connect", "zed", "--json", "--yes" }
                                         << "确认向 @zed 发起好友申请？|继续"
                                         << "向 @zed 发起好友申请，等待对方通过。"
                                         << "ConnectIntent: connect @zed ok=true";
        QTest::newRow("connect at once") << "ConnectIntent" << Values { { "handle", "carol" } }
                                         << QStringList { "connect", "carol", "--json", "--yes" }
                                         << "确认向 @carol 发起好友申请？|继续"
                                         << "向 @carol 发起好友申请。"
                                         << "ConnectIntent: connect @carol ok=true";
        QTest::newRow("approve") << "ApproveIntent" << Values { { "handle", "carol" } }
                                 << QStringList { "accept", "carol", "--json", "--yes" }
                                 << "确认通过 @carol 的好友申请？通过后对方可以给你发消息。|继续"
                                 << "已通过 @carol 的好友申请。"
                                 << "ApproveIntent: accepted @carol";
        QTest::newRow("requests") << "RequestsIntent" << Values {} << QStringList { "requests", "--json" } << ""
                                  << "有 1 条待处理好友申请。"
                                  << "RequestsIntent: 1 pending request(s)";
        QTest::newRow("friends") << "FriendsIntent" << Values {} << QStringList { "friends", "--json" } << ""
                                 << "你有 2 位好友。"
                                 << "FriendsIntent: 2 friend(s)";
        const QString shareConfirm = "确认创建公开分享链接？内容会明文暂存在服务器，直到对方领取/过期/你撤销。|继续";
        const QString shareDialog
            = "分享已创建。链接 https://share.quillmote.example/s/sh_3，访问码 C0DE3（只显示这一次）。";
        QTest::newRow("share") << "ShareIntent" << Values { { "text", "secret" } }
                               << QStringList { "share", "--text", "secret", "--json" } << shareConfirm << shareDialog
                               << "ShareIntent: created share sh_3";
        QTest::newRow("share for a week") << "ShareIntent" << Values { { "text", "secret" }, { "days", 7 } }
                                          << QStringList { "share", "--text", "secret", "--days", "7", "--json" }
                                          << shareConfirm << shareDialog << "ShareIntent: created share sh_3";
        QTest::newRow("whois") << "WhoisIntent" << Values { { "handle", "bot1" } }
                               << QStringList { "whois", "bot1", "--json" } << ""
                               << "@bot1 是一个 agent，验证状态 verified，密钥指纹 A1B2 C3D4 E5F6 0718。"
                               << "WhoisIntent: @bot1 kind=agent";
        // dave has no "online": offline.
        QTest::newRow("contacts") << "ContactsIntent" << Values {} << QStringList { "contacts", "--json" } << ""
                                  << "共 3 位联系人，1 位在线。"
                                  << "ContactsIntent: 3 contact(s), 1 online";
        QTest::newRow("unfriend") << "UnfriendIntent" << Values { { "handle", "bob" } }
                                  << QStringList { "unfriend", "bob", "--json" } << "确认解除与 @bob 的好友关系？|继续"
                                  << "已解除与 @bob 的好友关系。"
                                  << "UnfriendIntent: unfriended @bob";
        QTest::newRow("strangers on") << "AcceptStrangersIntent" << Values { { "enabled", true } }
                                      << QStringList { "settings", "accept-strangers", "on", "--json" }
                                      << "确认开启「接收陌生人消息」？非好友可发 1 条破冰消息。|继续"
                                      << "已开启接收陌生人消息。"
                                      << "AcceptStrangersIntent: set on";
        QTest::newRow("strangers off") << "AcceptStrangersIntent" << Values { { "enabled", "off" } }
                                       << QStringList { "settings", "accept-strangers", "off", "--json" }
                                       << "确认关闭「接收陌生人消息」？只有好友能给你发消息。|继续"
                                       << "已关闭接收陌生人消息。"
                                       << "AcceptStrangersIntent: set off";
        // sh_2 is revoked.
        QTest::newRow("shares") << "SharesIntent" << Values {} << QStringList { "shares", "--json" } << ""
                                << "共 2 个分享，1 个有效。"
                                << "SharesIntent: 2 share(s)";
        QTest::newRow("revoke") << "RevokeShareIntent" << Values { { "shareId", "sh_1" } }
                                << QStringList { "share-revoke", "sh_1", "--json" }
                                << "确认撤销分享 sh_1？服务器上的内容会被删除。|继续"
                                << "已撤销分享 sh_1。"
                                << "RevokeShareIntent: revoked sh_1";
        const QString publishConfirm = "确认发布能力信息？接受类型「text,tool_call」会对其他 agent 公开可见。|继续";
        QTest::newRow("publish") << "PublishCapabilitiesIntent"
                                 << Values { { "accepts", "text,tool_call" }, { "description", "helper" },
                                        { "requiresConfirmation", true } }
                                 << QStringList { "settings", "capabilities", "--accepts", "text,tool_call",
                                        "--description", "helper", "--requires-confirmation", "--json" }
                                 << publishConfirm << "已发布能力信息。"
                                 << "PublishCapabilitiesIntent: published accepts=text,tool_call";
        QTest::newRow("publish, no confirmation")
            << "PublishCapabilitiesIntent" << Values { { "accepts", "text,tool_call" }, { "description", "helper" } }
            << QStringList { "settings", "capabilities", "--accepts", "text,tool_call", "--description", "helper",
                   "--json" }
            << publishConfirm << "已发布能力信息。"
            << "PublishCapabilitiesIntent: published accepts=text,tool_call";
        QTest::newRow("send to device") << "SendToDeviceIntent" << Values { { "device", "laptop" }, { "text", "note" } }
                                        << QStringList { "send-self", "laptop", "note", "--json" }
                                        << "确认把这段内容发到设备「laptop」：note|发送"
                                        << "已发送到设备「laptop」。"
                                        << "SendToDeviceIntent: sent to device laptop";
        QTest::newRow("devices") << "DevicesIntent" << Values {} << QStringList { "devices", "--json" } << ""
                                 << "共 2 台设备，1 台在线。"
                                 << "DevicesIntent: 2 device(s), 1 online";
        QTest::newRow("forward") << "ForwardIntent" << Values { { "message", "in-1" }, { "device", "laptop" } }
                                 << QStringList { "forward", "in-1", "laptop", "--json" }
                                 << "确认把消息 in-1 转发到设备「laptop」？|继续"
                                 << "已转发到设备「laptop」。"
                                 << "ForwardIntent: forwarded in-1 → laptop";
        QTest::newRow("block") << "BlockIntent" << Values { { "handle", "mallory" } }
                               << QStringList { "block", "mallory", "--json" }
                               << "确认屏蔽 @mallory？屏蔽后对方无法再给你发消息。|继续"
                               << "已屏蔽 @mallory。"
                               << "BlockIntent: blocked @mallory";
        QTest::newRow("whoami") << "WhoamiIntent" << Values {} << QStringList { "whoami", "--json" } << ""
                                << "你是 @me。"
                                << "WhoamiIntent: @me";
        QTest::newRow("doctor") << "DoctorIntent" << Values {} << QStringList { "doctor", "--json" } << ""
                                << "体检通过：连通性 / 身份 / 监听都正常。"
                                << "DoctorIntent: ok=true";
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
