#include "platform/XdgAutostart.h"
#include "support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QTest>

class TestAutostart : public QObject
{
    Q_OBJECT
private Q_SLOTS:

    void respectsTheUsersChoice_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("why");
        using S = XdgAutostart::Status;
        QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nExec=x\nHidden=true\n") << int(S::turnedOffByUser)
                                << "Hidden=true";
        QTest::newRow("gnome switch off") << QByteArray("[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n")
                                          << int(S::turnedOffByUser) << "X-GNOME-Autostart-enabled=false";
        QTest::newRow("hidden=false is on") << QByteArray("[Desktop Entry]\nHidden=false\n") << int(S::enabled) << "";
        QTest::newRow("key in another group")
            << QByteArray("[Desktop Entry]\nExec=x\n[Desktop Action a]\nHidden=true\n") << int(S::enabled) << "";
    }

    void respectsTheUsersChoice()
    {
        QFETCH(QByteArray, entry);
        QFETCH(int, status);
        QFETCH(QString, why);
        TestEnv env;
        QVERIFY(QDir().mkpath(env.configHome() + "/autostart"));
        QFile f(XdgAutostart::entryPath());
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(entry);
        f.close();
        QString reason;
        QCOMPARE(int(XdgAutostart::status(&reason)), status);
        QCOMPARE(reason, why);
    }
};

QTEST_GUILESS_MAIN(TestAutostart)
#include "tst_autostart.moc"
