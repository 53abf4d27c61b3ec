// Desktop settings through the settings portal, against a stand-in portal on the test's own bus.
#include "platform/DesktopColorScheme.h"
#include "ui/Theme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QSignalSpy>
#include <QTest>

// Answers Read the way the portal does: the value in two variants.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public Q_SLOTS:
    QDBusVariant Read(const QString &ns, const QString &key)
    {
        const bool known = ns == QLatin1String("org.freedesktop.appearance") && key == QLatin1String("color-scheme");
        return QDBusVariant(QVariant::fromValue(QDBusVariant(known ? 1u : 0u)));
    }
};

class TestPortalSetting : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void colourSchemeFollowsThePortal()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("portal"));
        FakePortal portal;
        QVERIFY(bus.registerObject(
            QStringLiteral("/org/freedesktop/portal/desktop"), &portal, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));

        Theme::instance()->setDark(false);
        DesktopColorScheme scheme;
        QTRY_VERIFY(Theme::instance()->dark());

        const auto change = [&bus](const QString &key, uint value) {
            QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
            signal << QStringLiteral("org.freedesktop.appearance") << key << QVariant::fromValue(QDBusVariant(value));
            QVERIFY(bus.send(signal));
        };
        // Another key, an unchanged value, then the change: the windows turn light once.
        QSignalSpy themeChanged(Theme::instance(), &Theme::changed);
        change(QStringLiteral("accent-color"), 2);
        change(QStringLiteral("color-scheme"), 1);
        change(QStringLiteral("color-scheme"), 2);
        QTRY_VERIFY(!Theme::instance()->dark());
        QCOMPARE(themeChanged.count(), 1);
    }
};

QTEST_MAIN(TestPortalSetting)
#include "tst_portalsetting.moc"
