// The real binary, started as a user would start it on a box with no display and no bus.
#include "AppProcess.h"
#include "support/UnixClient.h"

#include <QRandomGenerator>

namespace {

struct App : AppProcess {
    // The sanitizer's quarantine would hold on to every freed block up to 256 MB and hide
    // what the app itself keeps.
    explicit App(const TestEnv &env)
        : AppProcess(env,
            { { "DBUS_SESSION_BUS_ADDRESS", "disabled:" }, { "DISPLAY", {} }, { "WAYLAND_DISPLAY", {} },
                { "QT_QPA_PLATFORM", {} }, { "JOURNAL_STREAM", {} },
                { "ASAN_OPTIONS", qEnvironmentVariable("ASAN_OPTIONS") + ":quarantine_size_mb=8" } })
    {
    }
    bool running() const { return proc.state() == QProcess::Running; }
};

QByteArray goodFrame(const QByteArray &id)
{
    return "{\"type\":\"notify\",\"sender\":\"alice\",\"body\":\"fine\",\"msgId\":\"" + id + "\"}\n";
}

} // namespace

class TestAppProcess : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void servesTheSocketWithoutDisplayOrBus()
    {
        TestEnv env;
        App app(env);
        QVERIFY2(app.waitFor(" info socket socket: listening at " + env.socketPath()), qPrintable(app.log()));
        QVERIFY(app.waitFor("launched (menu-bar accessory)"));
        UnixClient c;
        QVERIFY(c.connectTo(env.socketPath()));
        QVERIFY(c.write(R"({"type":"notify","sender":"alice","body":"hi","msgId":"m1"})"
                        "\n"
                        R"({"type":"notify","sender":"bob","title":"Build","body":"ok"})"
                        "\n"));
        QVERIFY(app.waitFor(" info notify socket: onNotify m1 from @alice"));
        QVERIFY(app.waitFor("socket: onNotify <no-id> from Build"));

        app.proc.terminate(); // SIGTERM
        QVERIFY(app.proc.waitForFinished(5000));
        QCOMPARE(app.proc.exitStatus(), QProcess::NormalExit);
        QCOMPARE(app.proc.exitCode(), 0);
        QVERIFY(!QFile::exists(env.socketPath()));
    }

    // What a broken or hostile terminal may write. Each line is taken in or dropped, the
    // connection stays usable, the next frame is heard and memory comes back down.
    void survivesHostileLines_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<bool>("heard"); // a valid frame, announced like any other
        const QByteArray head = R"({"type":"notify","sender":"a","body":"x","extra":)";
        constexpr int deep = 1000000;
        QTest::newRow("nested a million deep") << head + QByteArray(deep, '[') + QByteArray(deep, ']') + "}\n" << false;
        QTest::newRow("nested 513 deep") << head + QByteArray(512, '[') + QByteArray(512, ']') + "}\n" << false;
        QTest::newRow("64 MB line") << QByteArray(64 << 20, 'x') + "\n" << false;
        QTest::newRow("16 MB body") << "{\"type\":\"notify\",\"sender\":\"a\",\"msgId\":\"big\",\"body\":\""
                + QByteArray(16 << 20, 'b')
                + "\"}\n" << true;
        QByteArray noise(1 << 20, Qt::Uninitialized);
        QRandomGenerator rng(11);
        for (char &c : noise)
            c = char(rng.bounded(256));
        noise.replace('\n', ' ');
        QTest::newRow("binary noise") << noise + "\n" << false;
        QTest::newRow("invalid UTF-8") << QByteArray(
            "{\"type\":\"notify\",\"sender\":\"a\",\"body\":\"\xc3\x28\xff\"}\n")
                                       << false;
        const char nulAfter[] = "{\"type\":\"notify\",\"sender\":\"a\",\"body\":\"x\"}\0z\n";
        QTest::newRow("NUL after the object") << QByteArray(nulAfter, sizeof nulAfter - 1) << false;
    }

    void survivesHostileLines()
    {
        QFETCH(QByteArray, line);
        QFETCH(bool, heard);
        TestEnv env;
        App app(env);
        QVERIFY2(app.waitFor("socket: listening at"), qPrintable(app.log()));
        UnixClient c;
        QVERIFY(c.connectTo(env.socketPath()));
        QVERIFY(c.write(goodFrame("before")));
        QVERIFY(app.waitFor("socket: onNotify before from @alice"));
        const double baseline = app.residentMiB();

        QVERIFY(c.write(line));
        QVERIFY(c.write(goodFrame("after")));
        QVERIFY2(app.waitFor("socket: onNotify after from @alice", 60000), qPrintable(app.log().right(2000)));
        QVERIFY(app.running());
        const qsizetype bytes = line.size() - 1;
        QCOMPARE(app.log().contains(QStringLiteral("ignored unparseable frame (%1 bytes)").arg(bytes)), !heard);
        QCOMPARE(app.log().contains("socket: onNotify big from @a"), heard);
        // Held while the message is listed (the menu keeps it), but nothing of the reading.
        const double grown = app.residentMiB() - baseline;
        QVERIFY2(grown < 150, qPrintable(QStringLiteral("+%1 MiB").arg(grown)));
    }

    // A line that never ends holds only its own connection: other terminals are heard,
    // and its own next frame once it finally ends.
    void unendingLineBlocksOnlyItsConnection()
    {
        TestEnv env;
        App app(env);
        QVERIFY(app.waitFor("socket: listening at"));
        UnixClient endless, other;
        QVERIFY(endless.connectTo(env.socketPath()));
        QVERIFY(other.connectTo(env.socketPath()));
        const QByteArray chunk(1 << 20, 'y');
        for (int i = 0; i < 48; ++i)
            QVERIFY(endless.write(chunk));
        QVERIFY(other.write(goodFrame("other")));
        QVERIFY(app.waitFor("socket: onNotify other from @alice"));
        QVERIFY(endless.write("\n" + goodFrame("own")));
        QVERIFY(app.waitFor("socket: onNotify own from @alice"));
        QVERIFY(app.log().contains(QStringLiteral("ignored unparseable frame (%1 bytes)").arg(48 << 20)));
    }
};

QTEST_GUILESS_MAIN(TestAppProcess)
#include "tst_appprocess.moc"
