#include "platform/PortalSetting.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {
const auto kService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kInterface = QStringLiteral("org.freedesktop.portal.Settings");
} // namespace

PortalSetting::PortalSetting(const QString &ns, const QString &key, QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_ns(ns)
    , m_key(key)
{
    if (!bus.isConnected())
        return;
    // The slot's QDBusVariant is looked up by name, which only works once the type is
    // registered: nothing else in the process may have done that yet.
    qRegisterMetaType<QDBusVariant>();
    bus.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
        SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    read << ns << key;
    // A desktop without the portal must not get one started just for a preference.
    read.setAutoStartService(false);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(read, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (!reply.isError())
            Q_EMIT valueRead(unwrap(reply.value().variant()));
    });
}

QVariant PortalSetting::unwrap(QVariant v)
{
    while (v.userType() == qMetaTypeId<QDBusVariant>())
        v = v.value<QDBusVariant>().variant();
    return v;
}

void PortalSetting::onSettingChanged(const QString &ns, const QString &key, const QDBusVariant &value)
{
    if (ns == m_ns && key == m_key)
        Q_EMIT valueRead(unwrap(value.variant()));
}
