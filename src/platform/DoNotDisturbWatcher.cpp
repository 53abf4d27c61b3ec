#include "platform/DoNotDisturbWatcher.h"

#include "core/Log.h"
#include "intents/QuillmoteFocusFilter.h"
#include "platform/PortalSettings.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace {
const QString kNotifications = QStringLiteral("org.freedesktop.Notifications");
const QString kNotificationsPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kDunst = QStringLiteral("org.dunstproject.cmd0");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString kGnomeNotifications = QStringLiteral("org.gnome.desktop.notifications");
const QString kShowBanners = QStringLiteral("show-banners");
using PortalSettings::unwrap;
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
    m_bus.connect(QString(), PortalSettings::path, PortalSettings::interface, QStringLiteral("SettingChanged"), this,
        SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    m_server.setConnection(m_bus);
    m_server.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    m_server.addWatchedService(kNotifications);
    connect(&m_server, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        readProperty(kNotifications, QStringLiteral("Inhibited"), &m_inhibited);
        readProperty(kDunst, QStringLiteral("paused"), &m_paused);
    });
    readAll();
}

void DoNotDisturbWatcher::readAll()
{
    readProperty(kNotifications, QStringLiteral("Inhibited"), &m_inhibited);
    readProperty(kDunst, QStringLiteral("paused"), &m_paused);

    QDBusMessage read = QDBusMessage::createMethodCall(
        PortalSettings::service, PortalSettings::path, PortalSettings::interface, QStringLiteral("Read"));
    read << kGnomeNotifications << kShowBanners;
    auto *w = new QDBusPendingCallWatcher(m_bus.asyncCall(read), this);
    connect(w, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (!reply.isError())
            set(&m_bannersOff, !unwrap(reply.value().variant()).toBool());
    });
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
        set(into, unwrap(reply.value().variant()).toBool());
    });
}

void DoNotDisturbWatcher::onPropertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &)
{
    if (interface == kNotifications && changed.contains(QStringLiteral("Inhibited")))
        set(&m_inhibited, unwrap(changed.value(QStringLiteral("Inhibited"))).toBool());
    if (interface == kDunst && changed.contains(QStringLiteral("paused")))
        set(&m_paused, unwrap(changed.value(QStringLiteral("paused"))).toBool());
}

void DoNotDisturbWatcher::onSettingChanged(const QString &ns, const QString &key, const QDBusVariant &value)
{
    if (ns == kGnomeNotifications && key == kShowBanners)
        set(&m_bannersOff, !unwrap(value.variant()).toBool());
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
