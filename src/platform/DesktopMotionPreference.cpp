#include "platform/DesktopMotionPreference.h"

#include "platform/PortalSetting.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>

DesktopMotionPreference::DesktopMotionPreference(QObject *parent)
    : QObject(parent)
{
    auto *setting = new PortalSetting(QStringLiteral("org.gnome.desktop.interface"),
        QStringLiteral("enable-animations"), QDBusConnection::sessionBus(), this);
    connect(setting, &PortalSetting::valueRead, this, [this](const QVariant &value) {
        m_portalAnimationsOff = value.typeId() == QMetaType::Bool && !value.toBool();
    });
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
