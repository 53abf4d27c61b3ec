// The actions and the pickers' searches against the tool's recorded answers: argument
// vectors, confirmations, the gate, the dialogs and log lines, and how tool failures reach
// the user; the do-not-disturb filter; and what they stand on: the runner that finds and
// runs the tool and decodes its answers, the log and the settings.
#include "cli/CLIResponses.h"
#include "cli/CLIRunner.h"
#include "core/Log.h"
#include "core/SettingsStore.h"
#include "fakes/FakeAuthGate.h"
#include "fakes/FakeConfirmer.h"
#include "fakes/FakeToolRunner.h"
#include "intents/EntityQueries.h"
#include "intents/IntentsService.h"
#include "intents/QuillmoteFocusFilter.h"
#include "support/LogCapture.h"
#include "support/Table.h"
#include "support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using Values = QVariantMap;
using Kind = EntityQueries::Kind;
using SettingsStore::Key;

namespace {

IntentResult performAndWait(IntentsService &service, const QString &name, const Values &values)
{
    std::optional<IntentResult> result;
    service.perform(name, values, [&](const IntentResult &r) { result = r; });
    if (!QTest::qWaitFor([&] { return result.has_value(); }, 15000))
        return IntentResult::failed(QStringLiteral("test: no answer"));
    return *result;
}

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

// The tool, a confirmer and a gate that answer as each test sets them.
struct World {
    TestEnv env;
    FakeToolRunner tool;
    FakeConfirmer confirmer;
    FakeAuthGate gate;
    IntentsService service { confirmer, gate, &tool };
    EntityQueries queries { tool };
    const QList<QStringList> &argvs() const { return tool.argvs; }
};

// A tool that prints $FAKE_OUT (or the file $FAKE_OUT_FILE), then $FAKE_ERR on stderr, and
// exits with $FAKE_EXIT.
const QByteArray kFakeTool = "#!/bin/sh\n[ -n \"$FAKE_OUT_FILE\" ] && cat \"$FAKE_OUT_FILE\"\nprintf '%s' "
                             "\"$FAKE_OUT\"\nprintf '%s' \"$FAKE_ERR\" >&2\nexit ${FAKE_EXIT:-0}\n";

QString writeFile(const QString &path, bool executable, const QByteArray &content = kFakeTool)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly) || f.write(content) != content.size())
        return {};
    QFile::Permissions perms = QFile::ReadOwner | QFile::WriteOwner;
    f.setPermissions(executable ? perms | QFile::ExeOwner : perms);
    return path;
}

template<typename T> CLIOutcome<T> await(QFuture<CLIOutcome<T>> future)
{
    if (!QTest::qWaitFor([&] { return future.isFinished(); }, 15000))
        return CLIError::spawnFailed(u"test timed out"_s);
    return future.result();
}

// Whether a document decodes as T.
using Decodes = bool (*)(const QJsonDocument &);
template<typename T> bool decodes(const QJsonDocument &doc)
{
    return T::decode(doc).has_value();
}

const QString kScript = u"home/Documents/AI/Quillmote/packages/cli/dist/cli.js"_s;

} // namespace

class TestIntents : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { CLIRunner::resetCacheForTesting(); }
    void cleanup() { CLIRunner::resetCacheForTesting(); }

    // One row per action and variant; a confirmation is "text|label", empty when none is asked.
    void everyActionRunsItsCommandAndAnswers_data()
    {
        Table::load<QString, Values, QStringList, QString, QString, QString>(
            { "name", "values", "argv", "confirmation", "dialog", "logLine" });
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
        SettingsStore::setFlag(Key::biometricGate, true);
        LogCapture log;

        const IntentResult result = performAndWait(world.service, name, values);
        QCOMPARE(world.gate.reasons, reason.isEmpty() ? QStringList {} : QStringList { reason });
        QCOMPARE(result, IntentResult::completed(dialog));
        QCOMPARE(world.argvs(), QList<QStringList> { argv });
        QCOMPARE(log.count(logLine), 1);
        QCOMPARE(log.find(logLine).level, "info");
        QStringList asked;
        for (const auto &[text, label] : world.confirmer.asked)
            asked << text + "|" + label;
        QCOMPARE(asked, confirmation.isEmpty() ? QStringList {} : QStringList { confirmation });
    }

    void emptyAnswersHaveTheirOwnSentence_data() { Table::load<QString, QString>({ "name", "dialog" }); }

    void emptyAnswersHaveTheirOwnSentence()
    {
        QFETCH(QString, name);
        QFETCH(QString, dialog);
        World world;
        for (const char *list : { "friends", "requests", "contacts", "shares", "devices" })
            world.tool.answers[list] = QByteArray("{\"") + list + "\":[]}";
        world.tool.answers["inbox"] = "[]";
        world.tool.answers["doctor"] = R"({"ok":false,"checks":[{"name":"relay","ok":false}]})";
        QCOMPARE(performAndWait(world.service, name, {}), IntentResult::completed(dialog));
    }

    // An action answers with the tool's error text and logs no success line; a picker's
    // search logs one line and offers nothing.
    void toolFailureBecomesTheRunnersText()
    {
        World world;
        world.tool.failure = CLIResult { 1, {}, "  relay unreachable  \n" };
        LogCapture log;
        QCOMPARE(performAndWait(world.service, "SendMessageIntent", { { "handle", "alice" }, { "text", "hi" } }),
            IntentResult::failed("relay unreachable"));
        QCOMPARE(log.count("SendMessageIntent: "), 0);
        QCOMPARE(
            await([&](auto done) { world.queries.matching(Kind::friendRequests, "a", done); }), QList<IntentEntity> {});
        QCOMPARE(log.count("FriendRequestQuery"), 1);
        QCOMPARE(log.find("FriendRequestQuery").toString(),
            "error intents FriendRequestQuery: requests --json failed: relay unreachable");
    }

    // The user confirms first; only then, and only with the gate on, is the gate asked. A
    // failed gate is not an error: the action answers that it was cancelled.
    void gateComesAfterConfirmation_data()
    {
        Table::load<bool, bool, QString, QString, bool>({ "confirmed", "gateOn", "answer", "gateLine", "ran" });
    }

    void gateComesAfterConfirmation()
    {
        QFETCH(bool, confirmed);
        QFETCH(bool, gateOn);
        QFETCH(QString, answer);
        QFETCH(QString, gateLine);
        QFETCH(bool, ran);
        World world;
        SettingsStore::setFlag(Key::biometricGate, gateOn);
        world.confirmer.accept = confirmed;
        using Kind = AuthGate::Answer::Kind;
        static const QMap<QString, Kind> kinds { { "authorized", Kind::authorized }, { "denied", Kind::denied },
            { "failed", Kind::failed } };
        QVERIFY(kinds.contains(answer));
        world.gate.answer = { kinds[answer], u"dismissed by the user"_s };
        LogCapture log;

        const IntentResult result = performAndWait(world.service, "BlockIntent", { { "handle", "mallory" } });
        QCOMPARE(world.confirmer.asked,
            (QList<QPair<QString, QString>> { { "确认屏蔽 @mallory？屏蔽后对方无法再给你发消息。", "继续" } }));
        QCOMPARE(world.gate.reasons, gateOn && confirmed ? QStringList { "屏蔽用户" } : QStringList {});
        if (gateLine.isEmpty()) {
            QCOMPARE(log.count("BiometricGate"), 0);
        } else {
            QCOMPARE(log.count("BiometricGate"), 1);
            QCOMPARE(log.find("BiometricGate").toString(),
                (ran ? "info intents BiometricGate: " : "error intents BiometricGate: ") + gateLine);
        }
        if (!confirmed) {
            QCOMPARE(result, IntentResult::cancelled());
            QVERIFY2(log.lines().isEmpty(), qPrintable(log.dump()));
        } else {
            QCOMPARE(result, IntentResult::completed(ran ? "已屏蔽 @mallory。" : "已取消：未通过 Touch ID 验证。"));
        }
        QCOMPARE(
            world.argvs(), (ran ? QList<QStringList> { { "block", "mallory", "--json" } } : QList<QStringList> {}));
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

    void pickersSearchTheToolsAnswers()
    {
        World world;
        world.tool.answers["friends"] = R"({"friends":["Abby","bob","cab"]})";
        world.tool.answers["requests"] = R"({"requests":["carol","dan"]})";
        QCOMPARE(await([&](auto done) { world.queries.matching(Kind::friends, "@AB ", done); }),
            (QList<IntentEntity> { { "Abby", "@Abby" }, { "cab", "@cab" } }));
        QCOMPARE(ids(await([&](auto done) { world.queries.suggested(Kind::friendRequests, done); })),
            (QStringList { "carol", "dan" }));
        QCOMPARE(world.argvs(), (QList<QStringList> { { "friends", "--json" }, { "requests", "--json" } }));
        QCOMPARE(await([&](auto done) { world.queries.suggested(Kind::inboxMessages, done); }),
            (QList<IntentEntity> { { "in-1", "@alice：hello from alice" }, { "in-2", "@bob：（结构化消息）" } }));
        QCOMPARE(world.argvs().last(), (QStringList { "inbox", "--once", "--json" }));
        QCOMPARE(ids(await([&](auto done) { world.queries.matching(Kind::inboxMessages, "HELLO", done); })),
            QStringList { "in-1" });
        // Saved identifiers of friends who are gone resolve to nothing.
        QCOMPARE(ids(await([&](auto done) {
            world.queries.entitiesFor(Kind::friends, { "bob", "gone", "Abby" }, done);
        })),
            (QStringList { "bob", "Abby" }));
    }

    // The do-not-disturb filter records only while the feature is on, and not in the settings.
    void focusFilterRecordsOnlyWhileOn()
    {
        TestEnv env;
        LogCapture log;
        QCOMPARE(QuillmoteFocusFilter::perform(true), std::nullopt);
        QCOMPARE(QuillmoteFocusFilter::perform(false), std::nullopt);
        const QString inert = "QuillmoteFocusFilter: focusFilterEnabled=false → inert (no effect).";
        QCOMPARE(log.count(inert), 2);
        QCOMPARE(log.find(inert).level, "debug");

        SettingsStore::setFlag(Key::focusFilter, true);
        QCOMPARE(QuillmoteFocusFilter::perform(true), true);
        QVERIFY(log.contains("QuillmoteFocusFilter: enabled, recorded allowBreakthrough=true"));
        QCOMPARE(QuillmoteFocusFilter::perform(false), false);
        QVERIFY(!SettingsStore::value("quillmote.focusFilter.allowBreakthrough"));
    }

    void levelFollowsTheFailureWords_data() { Table::load<QString, QString>({ "text", "level" }); }

    void levelFollowsTheFailureWords()
    {
        QFETCH(QString, text);
        QFETCH(QString, level);
        LogCapture log;
        Log::emit(Log::Category::socket, text);
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines()[0].toString(), level + " socket " + text);
    }

    void linesCarryTimeLevelAndCategory()
    {
        const QString line = Log::formatLine(QtCriticalMsg, "com.quillmote.notifier.stateclient", "offline: x");
        static const QRegularExpression shape(
            QString(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z error stateclient offline: x$)"));
        QVERIFY2(shape.match(line).hasMatch(), qPrintable(line));
        QVERIFY(Log::formatLine(QtInfoMsg, "qt.qpa", "m").contains(u" info qt.qpa m"_s));
    }

    void bodiesArePrivateUnlessAskedFor()
    {
        TestEnv env;
        env.unset("QUILLMOTE_LOG_PRIVATE");
        QCOMPARE(Log::priv("secret"), u"<private>"_s);
        env.set("QUILLMOTE_LOG_PRIVATE", "true"); // only exactly "1" reveals
        QCOMPARE(Log::priv("secret"), u"<private>"_s);
        env.set("QUILLMOTE_LOG_PRIVATE", "1");
        QCOMPARE(Log::priv("secret"), u"secret"_s);
    }

    void toggleWritesTheBareQuietKey()
    {
        TestEnv env;
        QVERIFY(SettingsStore::toggle(Key::quietWhenFocused));
        QFile file(SettingsStore::filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray ini = file.readAll();
        QVERIFY2(ini.contains("\nquietWhenTerminalFocused=true"), ini.constData());
        QVERIFY(!ini.contains("quillmote.quietWhenTerminalFocused"));
        QVERIFY(!SettingsStore::toggle(Key::quietWhenFocused));
    }

    void seesAnotherProcesssWriteAtTheNextRead()
    {
        TestEnv env;
        QVERIFY(SettingsStore::flag(Key::sound));
        QVERIFY(SettingsStore::toggle(Key::biometricGate)); // the file exists now
        // Another process rewrites the file (as a second instance or the user would).
        QProcess sh;
        sh.start("sh",
            { "-c",
                "sleep 0.05; printf '[General]\\nquillmote.soundEnabled=false\\n"
                "quillmote.focusFilterEnabled=yes\\n' > \"$0\"",
                SettingsStore::filePath() });
        QVERIFY(sh.waitForFinished(5000));
        QCOMPARE(sh.exitCode(), 0);
        QVERIFY(!SettingsStore::flag(Key::sound));
        QVERIFY(SettingsStore::flag(Key::focusFilter)); // a string converts the usual way
        QVERIFY(!SettingsStore::flag(Key::biometricGate)); // gone from the file: the default again
    }

    // bin: "" is set but empty, "noexec" a plain file.
    void failedResolutionListsEveryPlaceTried_data() { Table::load<QString, bool>({ "bin", "nodeOnPath" }); }

    void failedResolutionListsEveryPlaceTried()
    {
        QFETCH(QString, bin);
        QFETCH(bool, nodeOnPath);
        TestEnv env;
        LogCapture log;
        const QString root = env.root() + u'/';
        env.set("HOME", (root + "home").toUtf8());
        const QString plain = writeFile(root + "plain/quillmote", false);
        env.set("QUILLMOTE_BIN", bin == u"noexec" ? plain.toUtf8() : QByteArray());
        // A quillmote on PATH that is not executable does not count.
        writeFile(root + "bin/quillmote", false);
        if (nodeOnPath)
            QVERIFY(QFile::link(u"/usr/bin/node"_s, root + "bin/node"));
        env.set("PATH", nodeOnPath ? (root + "bin").toUtf8() : QByteArray());

        const CLIOutcome<QStringList> r = CLIRunner::resolveInvocation();
        QVERIFY(!r);
        QCOMPARE(r.error().kind(), CLIError::Kind::binaryNotFound);
        QStringList expected { u"PATH(quillmote)"_s };
        if (bin == u"noexec")
            expected.prepend("QUILLMOTE_BIN=" + plain);
        if (nodeOnPath) {
            const QStringList scripts = CLIRunner::candidateCliJsPaths();
            QCOMPARE(scripts.last(), root + kScript);
            // The walk upwards reaches the root once (this test's folder is less than eight deep).
            QCOMPARE(scripts.filter(QRegularExpression("^/+packages/")), QStringList { "/packages/cli/dist/cli.js" });
            expected << scripts;
        } else {
            expected << u"node(not found)"_s;
        }
        QCOMPARE(r.error().tried(), expected);
        QCOMPARE(r.error().description(),
            "找不到 quillmote CLI（已尝试：" + expected.join(", ") + "）。请确认已安装或设置 QUILLMOTE_BIN。");
        QCOMPARE(log.find(u"cli: binary not found"_s).toString(),
            "error intents cli: binary not found — tried " + expected.join(", "));
        // A run fails at once, without starting anything.
        const QFuture<CLIOutcome<CLIResult>> run = CLIRunner::run({ u"friends"_s });
        QVERIFY(run.isFinished());
        QCOMPARE(run.result().error().kind(), CLIError::Kind::binaryNotFound);

        // Nothing was cached: a tool that appears is found by the next call.
        env.set("QUILLMOTE_BIN", writeFile(root + "late/quillmote", true).toUtf8());
        QVERIFY(CLIRunner::resolveInvocation());
    }

    // PATH and the expected invocation are relative to the test root.
    void resolvesInOrder_data() { Table::load<QString, QStringList, QString>({ "path", "expected", "how" }); }

    void resolvesInOrder()
    {
        QFETCH(QString, path);
        QFETCH(QStringList, expected);
        QFETCH(QString, how);
        TestEnv env;
        LogCapture log;
        const QString root = env.root() + u'/';
        env.set("HOME", (root + "home").toUtf8());
        QDir().mkpath(root + "a/quillmote"); // a folder, not a tool
        writeFile(root + "b/quillmote", true);
        writeFile(root + "c/quillmote", true);
        QDir().mkpath(root + "n");
        QVERIFY(QFile::link(u"/usr/bin/node"_s, root + "n/node"));
        writeFile(root + kScript, false, "// script\n");
        writeFile(root + "bin/quillmote", true);
        env.set("QUILLMOTE_BIN", (root + (how.contains("BIN") ? "bin/quillmote" : "missing")).toUtf8());
        QStringList dirs = path.split(u':');
        for (QString &dir : dirs)
            dir = dir.isEmpty() ? dir : root + dir;
        env.set("PATH", dirs.join(u':').toUtf8());

        const CLIOutcome<QStringList> r = CLIRunner::resolveInvocation();
        QVERIFY2(r, r ? "" : qPrintable(r.error().description()));
        for (QString &part : expected)
            part.prepend(root);
        QCOMPARE(r.value(), expected);
        QCOMPARE(log.find(u"cli: resolved"_s).toString(), "info intents cli: resolved " + how + u' ' + expected.last());
    }

    // friends when it decodes, the description when it does not.
    void decodesTheAnswer_data()
    {
        Table::load<int, QString, QString, QStringList, QString>(
            { "exitCode", "out", "err", "friends", "description" });
        // Cut to 200 characters, not code units.
        const QString text = u"x"_s + QString(u"😀"_s).repeated(300);
        QTest::newRow("long output") << 0 << text << QString() << QStringList()
                                     << "无法解析 quillmote 输出：" + text.left(399);
    }

    void decodesTheAnswer()
    {
        QFETCH(int, exitCode);
        QFETCH(QString, out);
        QFETCH(QString, err);
        QFETCH(QStringList, friends);
        QFETCH(QString, description);
        LogCapture log;
        const CLIOutcome<CLIResult> run(CLIResult { exitCode, out, err });
        const CLIOutcome<FriendsResponse> r = CLIRunner::decodeAs<FriendsResponse>(u"friends"_s, run);
        if (description.isEmpty()) {
            QVERIFY2(r, r ? "" : qPrintable(r.error().description()));
            QCOMPARE(r->friends, friends);
            return;
        }
        QVERIFY(!r);
        QCOMPARE(r.error().description(), description);
        QCOMPARE(r.error().kind(), exitCode ? CLIError::Kind::nonZeroExit : CLIError::Kind::malformedOutput);
        QCOMPARE(r.error().text(), exitCode ? err : out);
        if (exitCode)
            QCOMPARE(
                log.find(u"cli: friends exit"_s).toString(), u"error intents cli: friends exit %1"_s.arg(exitCode));
    }

    // Both streams are read whole; once resolved, a tool deleted after fails to start and is
    // not looked for again.
    void collectsBothStreamsThenFailsToSpawnADeletedTool()
    {
        TestEnv env;
        LogCapture log;
        const QString tool = writeFile(env.root() + "/quillmote", true);
        env.set("QUILLMOTE_BIN", tool.toUtf8());
        // Far more than a pipe holds, with text that is not valid UTF-8 at the end.
        QByteArray big;
        for (int i = 0; i < 20000; ++i)
            big += "line " + QByteArray::number(i) + " ü\n";
        big += "\xff";
        env.set("FAKE_OUT_FILE", writeFile(env.root() + "/out", false, big).toUtf8());
        env.set("FAKE_ERR", "warn: 注意\n");
        env.set("FAKE_EXIT", "7");
        const CLIOutcome<CLIResult> r = await(CLIRunner::run({ u"anything"_s }));
        QVERIFY(r);
        QCOMPARE(r->exitCode, 7);
        QCOMPARE(r->standardOutput, QString::fromUtf8(big));
        QVERIFY(r->standardOutput.endsWith(QChar(QChar::ReplacementCharacter)));
        QCOMPARE(r->standardError, u"warn: 注意\n"_s);

        QVERIFY(QFile::remove(tool));
        const CLIOutcome<DoctorReport> gone = await(CLIRunner::runJSON<DoctorReport>({ u"doctor"_s, u"--json"_s }));
        QVERIFY(!gone);
        QCOMPARE(gone.error().kind(), CLIError::Kind::spawnFailed);
        QVERIFY2(
            gone.error().description().startsWith(u"无法启动 quillmote："_s), qPrintable(gone.error().description()));
        QCOMPARE(log.count(u"cli: resolved"_s), 1);
        QCOMPARE(CLIRunner::resolveInvocation().value(), QStringList { tool });
    }

    // Each answer record: required members, optional ones, extra keys, types.
    void responsesCheckTheirFields_data() { Table::load<QString, QByteArray, bool>({ "decoder", "json", "decodes" }); }

    void responsesCheckTheirFields()
    {
        QFETCH(QString, decoder);
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        static const QMap<QString, Decodes> decoders { { "FriendsResponse", &::decodes<FriendsResponse> },
            { "RequestsResponse", &::decodes<RequestsResponse> }, { "ClaimResponse", &::decodes<ClaimResponse> },
            { "ShareResponse", &::decodes<ShareResponse> }, { "WhoisResponse", &::decodes<WhoisResponse> },
            { "DoctorReport", &::decodes<DoctorReport> }, { "ContactsResponse", &::decodes<ContactsResponse> },
            { "InboxResponse", &::decodes<InboxResponse> } };
        const QJsonDocument doc = QJsonDocument::fromJson(json);
        QVERIFY(!doc.isNull() && decoders.contains(decoder));
        QCOMPARE(decoders[decoder](doc), decodes);
    }
};

QTEST_GUILESS_MAIN(TestIntents)
#include "tst_intents.moc"
