#include "core/Log.h"
#include "core/SettingsStore.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

using SettingsStore::Key;
using namespace Qt::StringLiterals;

class TestAppBase : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void levelFollowsTheFailureWords_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("level");
        QTest::newRow("plain") << u"socket: listening at /x"_s << u"info"_s;
        QTest::newRow("failed") << u"socket: bind() failed at /x"_s << u"error"_s;
        QTest::newRow("upper case") << u"Authorization DENIED"_s << u"error"_s;
        QTest::newRow("error inside a word") << u"terrors ahead"_s << u"error"_s;
        QTest::newRow("not a failure word") << u"fail fast"_s << u"info"_s;
    }

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
};

QTEST_GUILESS_MAIN(TestAppBase)
#include "tst_core.moc"
