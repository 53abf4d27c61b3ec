#include "platform/DesktopMotionPreference.h"

#include "platform/PortalSettings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>

namespace {
const auto kGnomeInterface = QStringLiteral("org.gnome.desktop.interface");
const auto kAnimationsKey = QStringLiteral("enable-animations");
using PortalSettings::unwrap;
} // namespace

DesktopMotionPreference::DesktopMotionPreference(QObject *parent)
    : QObject(parent)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(PortalSettings::service, PortalSettings::path, PortalSettings::interface,
        QStringLiteral("SettingChanged"), this, SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage call = QDBusMessage::createMethodCall(
        PortalSettings::service, PortalSettings::path, PortalSettings::interface, QStringLiteral("Read"));
    call << kGnomeInterface << kAnimationsKey;
    call.setAutoStartService(false);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        QDBusPendingReply<QDBusVariant> reply = *w;
        if (!reply.isError()) {
            const QVariant v = unwrap(QVariant::fromValue(reply.value()));
            m_portalAnimationsOff = v.typeId() == QMetaType::Bool && !v.toBool();
        }
        w->deleteLater();
    });
}

void DesktopMotionPreference::portalSettingChanged(const QString &ns, const QString &key, const QDBusVariant &value)
{
    if (ns != kGnomeInterface || key != kAnimationsKey)
        return;
    const QVariant v = unwrap(value.variant());
    m_portalAnimationsOff = v.typeId() == QMetaType::Bool && !v.toBool();
}

bool DesktopMotionPreference::kdeAnimationsOff()
{
    const QString path
        = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/kdeglobals");
    if (!QFile::exists(path))
        return false;
    QSettings kde(path, QSettings::IniFormat);
    const QVariant factor = kde.value(QStringLiteral("KDE/AnimationDurationFactor"));
    return factor.isValid() && factor.toDouble() == 0.0;
}

bool DesktopMotionPreference::reduceMotion() const
{
    if (qgetenv("QUILLMOTE_REDUCE_MOTION") == "1")
        return true;
    return m_portalAnimationsOff || kdeAnimationsOff();
}
