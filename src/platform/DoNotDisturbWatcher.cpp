#include "platform/DoNotDisturbWatcher.h"

#include "core/Log.h"
#include "intents/QuillmoteFocusFilter.h"
#include "platform/PortalSetting.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {
const QString kNotifications = QStringLiteral("org.freedesktop.Notifications");
const QString kNotificationsPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kDunst = QStringLiteral("org.dunstproject.cmd0");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
} // namespace

DoNotDisturbWatcher::DoNotDisturbWatcher(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
}

void DoNotDisturbWatcher::start()
{
    if (!m_bus.isConnected()) {
        Log::info(Log::Category::intents, QStringLiteral("do-not-disturb: no session bus — not followed"));
        return;
    }
    m_bus.connect(QString(), kNotificationsPath, kProperties, QStringLiteral("PropertiesChanged"), this,
        SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    auto *banners = new PortalSetting(
        QStringLiteral("org.gnome.desktop.notifications"), QStringLiteral("show-banners"), m_bus, this);
    connect(banners, &PortalSetting::valueRead, this,
        [this](const QVariant &shown) { set(&m_bannersOff, !shown.toBool()); });
    m_server.setConnection(m_bus);
    m_server.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    m_server.addWatchedService(kNotifications);
    connect(&m_server, &QDBusServiceWatcher::serviceRegistered, this, &DoNotDisturbWatcher::readAll);
    readAll();
}

void DoNotDisturbWatcher::readAll()
{
    readProperty(kNotifications, QStringLiteral("Inhibited"), &m_inhibited);
    readProperty(kDunst, QStringLiteral("paused"), &m_paused);
}

void DoNotDisturbWatcher::readProperty(const QString &interface, const QString &property, bool *into)
{
    QDBusMessage get
        = QDBusMessage::createMethodCall(kNotifications, kNotificationsPath, kProperties, QStringLiteral("Get"));
    get << interface << property;
    auto *w = new QDBusPendingCallWatcher(m_bus.asyncCall(get), this);
    connect(w, &QDBusPendingCallWatcher::finished, this, [this, into](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isError())
            return;
        set(into, PortalSetting::unwrap(reply.value().variant()).toBool());
    });
}

void DoNotDisturbWatcher::onPropertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &)
{
    if (interface == kNotifications && changed.contains(QStringLiteral("Inhibited")))
        set(&m_inhibited, PortalSetting::unwrap(changed.value(QStringLiteral("Inhibited"))).toBool());
    if (interface == kDunst && changed.contains(QStringLiteral("paused")))
        set(&m_paused, PortalSetting::unwrap(changed.value(QStringLiteral("paused"))).toBool());
}

void DoNotDisturbWatcher::set(bool *field, bool value)
{
    const bool before = isActive();
    *field = value;
    const bool after = isActive();
    if (before == after)
        return;
    Log::info(Log::Category::intents,
        QStringLiteral("do-not-disturb: %1").arg(after ? QStringLiteral("on") : QStringLiteral("off")));
    if (const auto recorded = QuillmoteFocusFilter::perform(QuillmoteFocusFilter::breakthroughChoice()))
        m_breakthrough = *recorded;
    Q_EMIT changed(after);
}
