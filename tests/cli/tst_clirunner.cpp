#include "cli/CLIResponses.h"
#include "cli/CLIRunner.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

// A file with the given content and, optionally, the execute bits.
QString writeFile(const QString &path, const QByteArray &content, bool executable)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return {};
    f.write(content);
    f.close();
    QFile::Permissions perms = QFile::ReadOwner | QFile::WriteOwner;
    if (executable)
        perms |= QFile::ExeOwner;
    f.setPermissions(perms);
    return path;
}

// A tool that prints $FAKE_OUT (or the file $FAKE_OUT_FILE), then $FAKE_ERR on stderr, and
// exits with $FAKE_EXIT.
const QByteArray kFakeTool = "#!/bin/sh\n[ -n \"$FAKE_OUT_FILE\" ] && cat \"$FAKE_OUT_FILE\"\nprintf '%s' "
                             "\"$FAKE_OUT\"\nprintf '%s' \"$FAKE_ERR\" >&2\nexit ${FAKE_EXIT:-0}\n";

template<typename T> CLIOutcome<T> await(QFuture<CLIOutcome<T>> future)
{
    if (!QTest::qWaitFor([&] { return future.isFinished(); }, 15000))
        return CLIError::spawnFailed(QStringLiteral("test timed out"));
    return future.result();
}

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
        QTest::newRow("non-executable bin, empty PATH") << "noexec" << false;
        QTest::newRow("empty bin is unset") << "" << false;
        QTest::newRow("node but no script anywhere") << "noexec" << true;
    }

    void failedResolutionListsEveryPlaceTried()
    {
        QFETCH(QString, bin);
        QFETCH(bool, nodeOnPath);
        TestEnv env;
        LogCapture log;
        env.set("HOME", env.root().toUtf8() + "/home");
        const QString plain = writeFile(env.root() + QStringLiteral("/plain/quillmote"), kFakeTool, false);
        env.set("QUILLMOTE_BIN", bin == u"noexec" ? plain.toUtf8() : QByteArray());
        QString pathDir = env.root() + QStringLiteral("/bin");
        QDir().mkpath(pathDir);
        // A quillmote on PATH that is not executable does not count.
        writeFile(pathDir + QStringLiteral("/quillmote"), kFakeTool, false);
        if (nodeOnPath)
            QVERIFY(QFile::link(QStringLiteral("/usr/bin/node"), pathDir + QStringLiteral("/node")));
        env.set("PATH", nodeOnPath ? pathDir.toUtf8() : QByteArray());

        const CLIOutcome<QStringList> r = CLIRunner::resolveInvocation();
        QVERIFY(!r);
        QCOMPARE(r.error().kind(), CLIError::Kind::binaryNotFound);

        QStringList expected;
        if (bin == u"noexec")
            expected << QStringLiteral("QUILLMOTE_BIN=") + plain;
        expected << QStringLiteral("PATH(quillmote)");
        if (nodeOnPath) {
            const QStringList scripts = CLIRunner::candidateCliJsPaths();
            QCOMPARE(scripts.last(), env.root() + "/home/Documents/AI/Quillmote/packages/cli/dist/cli.js");
            // The walk upwards reaches the root once (this test's folder is less than eight deep).
            QCOMPARE(scripts.filter(QRegularExpression("^/+packages/")), QStringList { "/packages/cli/dist/cli.js" });
            expected << scripts;
        } else {
            expected << QStringLiteral("node(not found)");
        }
        QCOMPARE(r.error().tried(), expected);
        QCOMPARE(r.error().description(),
            QStringLiteral("找不到 quillmote CLI（已尝试：") + expected.join(QStringLiteral(", "))
                + QStringLiteral("）。请确认已安装或设置 QUILLMOTE_BIN。"));
        const LogCapture::Line line = log.find(QStringLiteral("cli: binary not found — tried "));
        QCOMPARE(line.text, QStringLiteral("cli: binary not found — tried ") + expected.join(QStringLiteral(", ")));
        QCOMPARE(line.level, QStringLiteral("error"));
        QCOMPARE(line.category, QStringLiteral("intents"));
        // A run fails at once, without starting anything.
        const QFuture<CLIOutcome<CLIResult>> run = CLIRunner::run({ QStringLiteral("friends") });
        QVERIFY(run.isFinished());
        QCOMPARE(run.result().error().kind(), CLIError::Kind::binaryNotFound);

        // Nothing was cached: a tool that appears is found by the next call.
        env.set("QUILLMOTE_BIN", writeFile(env.root() + QStringLiteral("/late/quillmote"), kFakeTool, true).toUtf8());
        QVERIFY(CLIRunner::resolveInvocation());
    }

    void resolvesInOrder_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("expected"); // relative to the test root; "|" separates node and script
        QTest::addColumn<QString>("logLine");
        QTest::newRow("QUILLMOTE_BIN before PATH") << "bin"
                                                   << "bin/quillmote"
                                                   << "cli: resolved via QUILLMOTE_BIN ";
        QTest::newRow("PATH in order, skipping folders named quillmote") << "path"
                                                                         << "b/quillmote"
                                                                         << "cli: resolved on PATH ";
        QTest::newRow("node fallback with the first script that exists")
            << "node"
            << "n/node|home/Documents/AI/Quillmote/packages/cli/dist/cli.js"
            << "cli: resolved via node fallback ";
    }

    void resolvesInOrder()
    {
        QFETCH(QString, setup);
        QFETCH(QString, expected);
        QFETCH(QString, logLine);
        TestEnv env;
        LogCapture log;
        const QString root = env.root() + QLatin1Char('/');
        env.set("HOME", (root + QStringLiteral("home")).toUtf8());
        QDir().mkpath(root + QStringLiteral("a/quillmote")); // a folder, not a tool
        writeFile(root + QStringLiteral("b/quillmote"), kFakeTool, true);
        writeFile(root + QStringLiteral("c/quillmote"), kFakeTool, true);
        QDir().mkpath(root + QStringLiteral("n"));
        QVERIFY(QFile::link(QStringLiteral("/usr/bin/node"), root + QStringLiteral("n/node")));
        writeFile(root + QStringLiteral("home/Documents/AI/Quillmote/packages/cli/dist/cli.js"), "// script\n", false);

        if (setup == u"bin") {
            env.set("QUILLMOTE_BIN", writeFile(root + QStringLiteral("bin/quillmote"), kFakeTool, true).toUtf8());
            env.set("PATH", (root + QStringLiteral("b")).toUtf8());
        } else {
            env.set("QUILLMOTE_BIN", (root + QStringLiteral("missing")).toUtf8());
            if (setup == u"path")
                env.set("PATH",
                    (QStringLiteral("::") + root + QStringLiteral("a:") + root + QStringLiteral("b:") + root
                        + QStringLiteral("c"))
                        .toUtf8());
            else
                env.set("PATH", (root + QStringLiteral("a:") + root + QStringLiteral("n")).toUtf8());
        }

        const CLIOutcome<QStringList> r = CLIRunner::resolveInvocation();
        QVERIFY2(r, r ? "" : qPrintable(r.error().description()));
        QStringList want;
        for (const QString &part : expected.split(QLatin1Char('|')))
            want << root + part;
        QCOMPARE(r.value(), want);
        const LogCapture::Line line = log.find(logLine);
        QCOMPARE(line.text, logLine + want.last());
        QCOMPARE(line.level, QStringLiteral("info"));
        QCOMPARE(line.category, QStringLiteral("intents"));
    }

    void decodesTheAnswer_data()
    {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        QTest::addColumn<QStringList>("friends"); // when it decodes
        QTest::addColumn<QString>("description"); // when it does not

        const QStringList none;
        QTest::newRow("progress, then the answer") << 0 << "› contacting relay…\n› done\n{\"friends\":[\"a\"]}\n"
                                                   << "" << QStringList { "a" } << "";
        QTest::newRow("two answers: the last wins") << 0 << "{\"friends\":[\"a\"]}\n{\"friends\":[\"b\"]}\n"
                                                    << "" << QStringList { "b" } << "";
        QTest::newRow("pretty over several lines") << 0 << "{\n  \"friends\": [\n    \"a\"\n  ]\n}\n"
                                                   << "" << QStringList { "a" } << "";
        QTest::newRow("blanks and tabs around the line") << 0 << "noise\n \t{\"friends\":[]}\t \r\n\n"
                                                         << "" << QStringList {} << "";
        QTest::newRow("last line of another shape is skipped") << 0 << "{\"friends\":[\"a\"]}\n{\"other\":1}\n"
                                                               << "" << QStringList { "a" } << "";
        QTest::newRow("exit 3, empty stderr") << 3 << "{\"friends\":[]}"
                                              << "" << none << "quillmote 退出码 3。";
        QTest::newRow("exit 1, a word between blanks") << 1 << ""
                                                       << "  \t nope \n"
                                                       << none << "nope";
        QTest::newRow("not JSON") << 0 << "  hello\n"
                                  << "" << none << "无法解析 quillmote 输出：  hello\n";
        QTest::newRow("long output cut to 200 characters")
            << 0 << QString(1000, QLatin1Char('x')) << "" << none
            << QStringLiteral("无法解析 quillmote 输出：") + QString(200, QLatin1Char('x'));
        QString emoji;
        for (int i = 0; i < 300; ++i)
            emoji += QStringLiteral("😀");
        QTest::newRow("characters, not code units")
            << 0 << emoji << "" << none << QStringLiteral("无法解析 quillmote 输出：") + emoji.left(400);
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
        const CLIOutcome<FriendsResponse> r = CLIRunner::decodeAs<FriendsResponse>(QStringLiteral("friends"), run);
        if (description.isEmpty()) {
            QVERIFY2(r, r ? "" : qPrintable(r.error().description()));
            QCOMPARE(r->friends, friends);
            return;
        }
        QVERIFY(!r);
        QCOMPARE(r.error().description(), description);
        if (exitCode != 0) {
            QCOMPARE(r.error().kind(), CLIError::Kind::nonZeroExit);
            QCOMPARE(r.error().text(), err);
            const LogCapture::Line line = log.find(QStringLiteral("cli: friends exit"));
            QCOMPARE(line.text, QStringLiteral("cli: friends exit %1").arg(exitCode));
            QCOMPARE(line.level, QStringLiteral("error"));
        } else {
            QCOMPARE(r.error().kind(), CLIError::Kind::malformedOutput);
            QCOMPARE(r.error().text(), out);
        }
    }

    void collectsBothStreamsWhole()
    {
        TestEnv env;
        env.set("QUILLMOTE_BIN", writeFile(env.root() + QStringLiteral("/quillmote"), kFakeTool, true).toUtf8());
        // Far more than a pipe holds, with text that is not valid UTF-8 at the end.
        QByteArray big;
        for (int i = 0; i < 20000; ++i)
            big += "line " + QByteArray::number(i) + " ü\n";
        big += "\xff";
        env.set("FAKE_OUT_FILE", writeFile(env.root() + QStringLiteral("/out"), big, false).toUtf8());
        env.set("FAKE_ERR", "warn: 注意\n");
        env.set("FAKE_EXIT", "7");
        const CLIOutcome<CLIResult> r = await(CLIRunner::run({ QStringLiteral("anything") }));
        QVERIFY(r);
        QCOMPARE(r->exitCode, 7);
        QCOMPARE(r->standardOutput, QString::fromUtf8(big));
        QVERIFY(r->standardOutput.endsWith(QChar(QChar::ReplacementCharacter)));
        QCOMPARE(r->standardError, QStringLiteral("warn: 注意\n"));
    }

    void deletedToolFailsToSpawnWithoutResolvingAgain()
    {
        TestEnv env;
        LogCapture log;
        const QString tool = writeFile(env.root() + QStringLiteral("/t/quillmote"), kFakeTool, true);
        env.set("QUILLMOTE_BIN", tool.toUtf8());
        env.set("FAKE_OUT", "{\"ok\":true}");
        QVERIFY(await(CLIRunner::runJSON<DoctorReport>({ QStringLiteral("doctor"), QStringLiteral("--json") })));
        QVERIFY(QFile::remove(tool));

        const CLIOutcome<DoctorReport> r
            = await(CLIRunner::runJSON<DoctorReport>({ QStringLiteral("doctor"), QStringLiteral("--json") }));
        QVERIFY(!r);
        QCOMPARE(r.error().kind(), CLIError::Kind::spawnFailed);
        QVERIFY2(r.error().description().startsWith(QStringLiteral("无法启动 quillmote：")),
            qPrintable(r.error().description()));
        QCOMPARE(log.count(QStringLiteral("cli: resolved")), 1);
        QCOMPARE(CLIRunner::resolveInvocation().value(), QStringList { tool });
    }
};

QTEST_GUILESS_MAIN(TestCLIRunner)
#include "tst_clirunner.moc"
