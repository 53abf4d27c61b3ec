#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

// One of the desktop's settings through the XDG desktop portal
// (org.freedesktop.portal.Settings): GNOME's keys, and the appearance keys of every desktop
// that runs the portal, reach the app this way. It reads the value once and follows
// SettingChanged; valueRead carries the plain value each time. Without a portal it stays
// silent, and the caller keeps its default.
class PortalSetting : public QObject
{
    Q_OBJECT
public:
    PortalSetting(const QString &ns, const QString &key, QDBusConnection bus = QDBusConnection::sessionBus(),
        QObject *parent = nullptr);

    // The value inside the variants: Read wraps it in one more than SettingChanged.
    static QVariant unwrap(QVariant v);

Q_SIGNALS:
    void valueRead(const QVariant &value);

private Q_SLOTS:
    // Connected by name: Qt D-Bus signal connections take no member-function pointers.
    void onSettingChanged(const QString &ns, const QString &key, const QDBusVariant &value);

private:
    const QString m_ns;
    const QString m_key;
};
