#include "core/Log.h"
#include "core/SettingsStore.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

using SettingsStore::Key;

class TestAppBase : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void levelFollowsTheFailureWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("level");
        QTest::newRow("plain") << "socket: listening at /x"
                               << "info";
        QTest::newRow("failed") << "socket: bind() failed at /x"
                                << "error";
        QTest::newRow("upper case") << "Authorization DENIED"
                                    << "error";
        QTest::newRow("error inside a word") << "terrors ahead"
                                             << "error";
        QTest::newRow("not a failure word") << "fail fast"
                                            << "info";
    }

    void levelFollowsTheFailureWords()
    {
        QFETCH(QString, text);
        QFETCH(QString, level);
        LogCapture log;
        Log::emit(Log::Category::socket, text);
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines()[0].level, level);
        QCOMPARE(log.lines()[0].category, QStringLiteral("socket"));
        QCOMPARE(log.lines()[0].text, text);
    }

    void linesCarryTimeLevelAndCategory()
    {
        const QString line = Log::formatLine(QtCriticalMsg, "com.quillmote.notifier.stateclient", "offline: x");
        static const QRegularExpression shape(
            QStringLiteral(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z error stateclient offline: x$)"));
        QVERIFY2(shape.match(line).hasMatch(), qPrintable(line));
        QVERIFY(Log::formatLine(QtInfoMsg, "qt.qpa", "m").contains(QStringLiteral(" info qt.qpa m")));
    }

    void bodiesArePrivateUnlessAskedFor()
    {
        TestEnv env;
        env.unset("QUILLMOTE_LOG_PRIVATE");
        QCOMPARE(Log::priv("secret"), QStringLiteral("<private>"));
        env.set("QUILLMOTE_LOG_PRIVATE", "true"); // only exactly "1" reveals
        QCOMPARE(Log::priv("secret"), QStringLiteral("<private>"));
        env.set("QUILLMOTE_LOG_PRIVATE", "1");
        QCOMPARE(Log::priv("secret"), QStringLiteral("secret"));
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
};

QTEST_GUILESS_MAIN(TestAppBase)
#include "tst_core.moc"
