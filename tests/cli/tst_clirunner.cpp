#include "cli/CLIResponses.h"
#include "cli/CLIRunner.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(bool (*)(const QJsonDocument &))

namespace {

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

class TestCLIRunner : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { CLIRunner::resetCacheForTesting(); }
    void cleanup() { CLIRunner::resetCacheForTesting(); }

    void failedResolutionListsEveryPlaceTried_data()
    {
        QTest::addColumn<QString>("bin"); // "" = set but empty, "noexec" = a plain file
        QTest::addColumn<bool>("nodeOnPath");
        QTest::newRow("non-executable bin, empty PATH") << u"noexec"_s << false;
        QTest::newRow("empty bin is unset") << QString() << false;
        QTest::newRow("node but no script anywhere") << u"noexec"_s << true;
    }

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

    void resolvesInOrder_data()
    {
        QTest::addColumn<QString>("path"); // relative to the test root
        QTest::addColumn<QStringList>("expected"); // likewise
        QTest::addColumn<QString>("how");
        QTest::newRow("QUILLMOTE_BIN before PATH")
            << u"b"_s << QStringList { "bin/quillmote" } << u"via QUILLMOTE_BIN"_s;
        QTest::newRow("PATH in order, skipping folders named quillmote")
            << u"::a:b:c"_s << QStringList { "b/quillmote" } << u"on PATH"_s;
        QTest::newRow("node fallback with the first script that exists")
            << u"a:n"_s << QStringList { "n/node", kScript } << u"via node fallback"_s;
    }

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

    void decodesTheAnswer_data()
    {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        QTest::addColumn<QStringList>("friends"); // when it decodes
        QTest::addColumn<QString>("description"); // when it does not

        const QStringList none;
        QTest::newRow("progress, then the answer") << 0 << u"› contacting relay…\n› done\n{\"friends\":[\"a\"]}\n"_s
                                                   << QString() << QStringList { "a" } << QString();
        QTest::newRow("two answers: the last wins") << 0 << u"{\"friends\":[\"a\"]}\n{\"friends\":[\"b\"]}\n"_s
                                                    << QString() << QStringList { "b" } << QString();
        QTest::newRow("pretty over several lines")
            << 0 << u"{\n  \"friends\": [\n    \"a\"\n  ]\n}\n"_s << QString() << QStringList { "a" } << QString();
        QTest::newRow("blanks and tabs around the line")
            << 0 << u"noise\n \t{\"friends\":[]}\t \r\n\n"_s << QString() << QStringList {} << QString();
        QTest::newRow("last line of another shape is skipped")
            << 0 << u"{\"friends\":[\"a\"]}\n{\"other\":1}\n"_s << QString() << QStringList { "a" } << QString();
        QTest::newRow("exit 3, empty stderr")
            << 3 << u"{\"friends\":[]}"_s << QString() << none << u"quillmote 退出码 3。"_s;
        QTest::newRow("exit 1, a word between blanks") << 1 << QString() << u"  \t nope \n"_s << none << u"nope"_s;
        QTest::newRow("not JSON") << 0 << u"  hello\n"_s << QString() << none
                                  << u"无法解析 quillmote 输出：  hello\n"_s;
        // Cut to 200 characters, not code units.
        const QString text = u"x"_s + QString(u"😀"_s).repeated(300);
        QTest::newRow("long output") << 0 << text << QString() << none << "无法解析 quillmote 输出：" + text.left(399);
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
    void responsesCheckTheirFields_data()
    {
        QTest::addColumn<Decodes>("decoder");
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");
        QTest::newRow("friends with a number") << &decodes<FriendsResponse> << R"({"friends": ["a", 3]})"_ba << false;
        QTest::newRow("requests, extra keys ignored")
            << &decodes<RequestsResponse> << R"({"requests": ["x"], "n": 1})"_ba << true;
        QTest::newRow("claim ok alone") << &decodes<ClaimResponse> << R"({"ok": true})"_ba << true;
        QTest::newRow("claim ok as text") << &decodes<ClaimResponse> << R"({"ok": "true"})"_ba << false;
        QTest::newRow("share without url") << &decodes<ShareResponse> << R"({"id": "s", "code": "c"})"_ba << false;
        QTest::newRow("whois handle only") << &decodes<WhoisResponse> << R"({"handle": "h"})"_ba << true;
        QTest::newRow("doctor ignores details")
            << &decodes<DoctorReport> << R"({"ok": false, "checks": [1, 2]})"_ba << true;
        QTest::newRow("contacts entry without handle")
            << &decodes<ContactsResponse> << R"({"contacts": [{"online": true}]})"_ba << false;
        QTest::newRow("contacts online as text")
            << &decodes<ContactsResponse> << R"({"contacts": [{"handle": "a", "online": "yes"}]})"_ba << false;
        QTest::newRow("inbox not an array") << &decodes<InboxResponse> << R"({"items": []})"_ba << false;
        QTest::newRow("inbox content not an object")
            << &decodes<InboxResponse> << R"([{"sender": {"handle": "a"}, "message": {"content": "hi"}}])"_ba << false;
    }

    void responsesCheckTheirFields()
    {
        QFETCH(Decodes, decoder);
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        const QJsonDocument doc = QJsonDocument::fromJson(json);
        QVERIFY(!doc.isNull());
        QCOMPARE(decoder(doc), decodes);
    }
};

QTEST_GUILESS_MAIN(TestCLIRunner)
#include "tst_clirunner.moc"
