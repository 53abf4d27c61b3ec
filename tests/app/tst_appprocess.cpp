// The real binary, started as a user would start it on a box with no display and no bus.
#include "support/TestEnv.h"
#include "support/UnixClient.h"

#include <QFile>
#include <QProcess>
#include <QTest>

#include <sys/stat.h>

namespace {

struct App {
    explicit App(const TestEnv &env)
    {
        QProcessEnvironment pe = QProcessEnvironment::systemEnvironment();
        pe.insert("QUILLMOTE_HOME", env.quillmoteHome());
        pe.insert("XDG_CONFIG_HOME", env.configHome());
        pe.insert("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        pe.remove("DISPLAY");
        pe.remove("WAYLAND_DISPLAY");
        pe.remove("QT_QPA_PLATFORM");
        pe.remove("JOURNAL_STREAM");
        proc.setProcessEnvironment(pe);
        proc.setProcessChannelMode(QProcess::SeparateChannels);
        proc.start(QStringLiteral(QM_APP_BINARY), {});
    }
    ~App()
    {
        if (proc.state() != QProcess::NotRunning) {
            proc.kill();
            proc.waitForFinished(3000);
        }
    }
    QString log()
    {
        seen += QString::fromUtf8(proc.readAllStandardError());
        return seen;
    }
    bool waitFor(const QString &fragment)
    {
        return QTest::qWaitFor([&] { return log().contains(fragment); }, 10000);
    }
    QProcess proc;
    QString seen;
};

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
        struct stat st {
        };
        QCOMPARE(::stat(env.socketPath().toUtf8().constData(), &st), 0);
        QCOMPARE(st.st_mode & 0777, 0600u);

        UnixClient c;
        QVERIFY(c.connectTo(env.socketPath()));
        QVERIFY(c.write("garbage\n"));
        QVERIFY(app.waitFor(" info socket socket: ignored unparseable frame (7 bytes)"));
        QVERIFY(c.write(R"({"type":"ping","sender":"a","body":"x"})"
                        "\n"
                        R"({"type":"notify","sender":"alice","body":"hi","msgId":"m1"})"
                        "\n"
                        R"({"type":"notify","sender":"bob","title":"Build","body":"ok"})"
                        "\n"));
        QVERIFY(app.waitFor(" info notify socket: onNotify m1 from @alice"));
        QVERIFY(app.waitFor("socket: onNotify <no-id> from Build"));
        QCOMPARE(app.log().count("onNotify"), 2); // the ping left no line

        app.proc.terminate(); // SIGTERM
        QVERIFY(app.proc.waitForFinished(5000));
        QCOMPARE(app.proc.exitStatus(), QProcess::NormalExit);
        QCOMPARE(app.proc.exitCode(), 0);
        QVERIFY(!QFile::exists(env.socketPath()));
    }
};

QTEST_GUILESS_MAIN(TestAppProcess)
#include "tst_appprocess.moc"
