#pragma once

#include <QDBusVariant>
#include <QString>
#include <QVariant>

// The desktop's settings through the XDG desktop portal (org.freedesktop.portal.Settings):
// GNOME's keys reach the app this way on any desktop that runs the portal.
namespace PortalSettings {

inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
inline const QString interface = QStringLiteral("org.freedesktop.portal.Settings");

// The value inside the variants: Read wraps it in one more than ReadOne and SettingChanged.
inline QVariant unwrap(QVariant v)
{
    while (v.canConvert<QDBusVariant>() && v.userType() == qMetaTypeId<QDBusVariant>())
        v = v.value<QDBusVariant>().variant();
    return v;
}

} // namespace PortalSettings
