// Runs on a private session bus (session.sh).
#include "platform/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QTest>

class TestSingleInstance : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void firstOwnsTheNameAndLaterOnesHandOff()
    {
        SingleInstance primary;
        QStringList opened;
        int activated = 0;
        primary.onOpenURL = [&](const QString &url) { opened << url; };
        primary.onActivate = [&] { ++activated; };
        QCOMPARE(primary.claim(), SingleInstance::Role::primary);

        // A second process sees the name taken. Its hand-off is a blocking call, so it runs on
        // a connection of its own while this thread serves the primary.
        QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "second");
        QVERIFY(other.isConnected());
        const auto taken = other.interface()->registerService(SingleInstance::serviceName,
                                                              QDBusConnectionInterface::DontQueueService);
        QCOMPARE(taken.value(), QDBusConnectionInterface::ServiceNotRegistered);

        QDBusMessage call = QDBusMessage::createMethodCall(SingleInstance::serviceName, SingleInstance::objectPath,
                                                           "com.quillmote.Notifier", "OpenURL");
        call << QStringLiteral("quillmote://conversation/alice");
        other.asyncCall(call);
        other.asyncCall(QDBusMessage::createMethodCall(SingleInstance::serviceName, SingleInstance::objectPath,
                                                       "com.quillmote.Notifier", "Activate"));
        QTRY_COMPARE(opened, QStringList{"quillmote://conversation/alice"});
        QTRY_COMPARE(activated, 1);
        QDBusConnection::disconnectFromBus("second");
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
