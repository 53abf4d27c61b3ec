#pragma once

#include "alerts/DoNotDisturbPort.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QVariantMap>

// Follows the desktop's do-not-disturb and runs the Focus filter on every change with the
// user's breakthrough choice, keeping what it records. Sources, any of which may be missing:
//  - KDE Plasma: the notification server's "Inhibited" property;
//  - dunst: the "paused" property of org.dunstproject.cmd0, which dunst announces with
//    PropertiesChanged (nothing is polled: waiting must cost no wake-ups);
//  - GNOME: "show-banners" of org.gnome.desktop.notifications through the settings portal.
// Do-not-disturb is on when any of them says so. A notification server that (re)starts is
// read afresh.
class DoNotDisturbWatcher : public QObject, public DoNotDisturbPort
{
    Q_OBJECT
public:
    explicit DoNotDisturbWatcher(QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);

    void start();
    bool isActive() const { return m_inhibited || m_paused || m_bannersOff; }
    AlertPolicy::DoNotDisturb doNotDisturb() const override { return { isActive(), m_breakthrough }; }

Q_SIGNALS:
    void changed(bool active);

private Q_SLOTS:
    // Connected by name: Qt D-Bus signal connections take no member-function pointers.
    void onPropertiesChanged(const QString &interface, const QVariantMap &changed, const QStringList &invalidated);

private:
    void readAll();
    void readProperty(const QString &interface, const QString &property, bool *into);
    void set(bool *field, bool value);

    QDBusConnection m_bus;
    bool m_inhibited = false;
    bool m_paused = false;
    bool m_bannersOff = false;
    bool m_breakthrough = false;
    QDBusServiceWatcher m_server;
};
