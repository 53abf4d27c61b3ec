#include "platform/XdgAutostart.h"
#include "support/TestEnv.h"
#include "ui/PreferencesModel.h"

#include <QDir>
#include <QFile>
#include <QTest>

class TestAutostart : public QObject
{
    Q_OBJECT
private Q_SLOTS:

    void writtenOnceThenTheUserDecides()
    {
        TestEnv env;
        using O = XdgAutostart::LaunchOutcome;
        const QString exe = QStringLiteral("/opt/quill mote/quillmote-notifier");
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::registered); // first run
        QVERIFY(QFile::exists(XdgAutostart::entryPath()));
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::enabled);

        QVERIFY(QFile::remove(XdgAutostart::entryPath())); // removed by the user
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::removedByUser);
        QVERIFY(!QFile::exists(XdgAutostart::entryPath()));

        // The preferences switch writes and removes it; off stays off at the next start.
        XdgLoginItem item(exe);
        PreferencesModel prefs(&item);
        QVERIFY(prefs.hasLoginItem() && !prefs.loginItem());
        prefs.setLoginItem(true);
        QVERIFY(prefs.loginItem());
        QFile entry(XdgAutostart::entryPath());
        QVERIFY(entry.open(QIODevice::ReadOnly));
        QVERIFY(entry.readAll().contains("Exec=\"/opt/quill mote/quillmote-notifier\""));
        prefs.setLoginItem(false);
        QVERIFY(!prefs.loginItem());
        QVERIFY(!QFile::exists(XdgAutostart::entryPath()));
        QCOMPARE(XdgAutostart::atLaunch(exe).kind, O::removedByUser);
    }

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
