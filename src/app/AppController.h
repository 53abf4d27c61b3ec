#pragma once

#include "ipc/Frames.h"

#include <QObject>

#include <memory>

class FreedesktopNotifications;
class MenuBarController;
class NotchController;
class NotificationController;
class SocketServer;
class SystemTray;

// The only place where the components meet: creates them, binds their callbacks and
// fans every incoming message frame out to them.
class AppController : public QObject
{
    Q_OBJECT
public:
    explicit AppController(QObject *parent = nullptr);
    ~AppController() override;

    // Start-up: binds the callbacks, bootstraps banners, starts the socket server, logs
    // "launched".
    void applicationDidFinishLaunching();
    // Termination stops the socket server and nothing else.
    void applicationWillTerminate();

    SocketServer &socket() { return *m_socket; }
    MenuBarController &menuBar() { return *m_menuBar; }
    NotificationController &notifications() { return *m_notifications; }
    NotchController &notch() { return *m_notch; }
    SystemTray &tray() { return *m_tray; }

    // Brings the conversation with `sender` forward.
    void openSender(const QString &sender);

private:
    void handleNotify(const NotifyFrame &frame);
    bool sendReply(const ReplyFrame &frame, const QString &logPrefix);

    // Adapters first: the controllers hold references to them.
    std::unique_ptr<SystemTray> m_tray;
    std::unique_ptr<FreedesktopNotifications> m_notificationServer;
    std::unique_ptr<MenuBarController> m_menuBar;
    std::unique_ptr<NotificationController> m_notifications;
    std::unique_ptr<NotchController> m_notch;
    std::unique_ptr<SocketServer> m_socket;
};
