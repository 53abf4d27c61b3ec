#pragma once

#include "alerts/NotificationsPort.h"

#include <QDBusConnection>

class QDBusServiceWatcher;

// Banners through org.freedesktop.Notifications on the session bus. Every call is
// asynchronous, so a slow or hung server never blocks the interface. The server's name
// is watched: one that starts or restarts later is reported through serverChanged.
class FreedesktopNotifications : public NotificationsPort
{
    Q_OBJECT
public:
    static constexpr auto service = "org.freedesktop.Notifications";
    static constexpr auto path = "/org/freedesktop/Notifications";
    static constexpr auto interface = "org.freedesktop.Notifications";
    static constexpr auto appName = "Quillmote Notifier";
    static constexpr auto desktopEntry = "quillmote-notifier";

    explicit FreedesktopNotifications(QObject *parent = nullptr);
    explicit FreedesktopNotifications(const QDBusConnection &bus, QObject *parent = nullptr);

    void probe(std::function<void(const ServerInfo &)> done) override;
    void post(const Banner &banner, std::function<void(quint32 id, const QString &error)> done) override;

    // The hints a banner is sent with (exposed for tests).
    static QVariantMap hints(const Banner &banner);

private Q_SLOTS:
    void actionInvoked(uint id, const QString &actionKey);
    void notificationReplied(uint id, const QString &text);
    void notificationClosed(uint id, uint reason);

private:
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);

    QDBusConnection m_bus;
    QDBusServiceWatcher *m_watcher = nullptr;
};
