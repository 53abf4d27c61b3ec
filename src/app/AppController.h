#pragma once

#include "ipc/Frames.h"

#include <QObject>

#include <memory>
#include <optional>

class QUrl;

class AppState;
class LoginItem;
struct DeepLink;
class DesktopActions;
class DesktopColorScheme;
class DoNotDisturbWatcher;
class MainWindowController;
class NativePreviewWindowController;
class PreferencesWindowController;
class StateClient;
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

    // Brings the conversation with `sender` forward: the wake-up URL, handled here directly.
    void openSender(const QString &sender);
    // quillmote:// links, from a second process or the command line.
    void handleURLString(const QString &text);
    void handleDeepLink(const QUrl &url);

    void openMainWindow(const std::optional<QString> &focusPeer = std::nullopt);
    // Opens the main window, then selects the conversation with `peer`.
    void openConversation(const QString &peer);
    void openProfile();
    void openPreferences();
    void openNativePreviewWindow();

    // The app-wide observable state behind the main window, made on first use.
    AppState &appState();
    StateClient &stateClient();
    MainWindowController *mainWindow() const { return m_mainWC.get(); }

    // The session bus's name is ours: the desktop actions can be offered on it.
    void setOwnsBusName(bool owns) { m_ownsBusName = owns; }

private:
    void registerLoginItem();
    void applyEnvironmentSwitches();
    void startDesktopActions();
    void windowClosed();
    void followColorScheme();
    void handleNotify(const NotifyFrame &frame);
    void handleDeepLink(const QUrl &url, const DeepLink &link);
    // Marks every unread tray item of the sender read, one markRead each.
    void markSenderRead(const QString &sender);
    bool sendReply(const ReplyFrame &frame, const QString &logPrefix);

    // Adapters first: the controllers hold references to them.
    std::unique_ptr<SystemTray> m_tray;
    std::unique_ptr<FreedesktopNotifications> m_notificationServer;
    std::unique_ptr<DoNotDisturbWatcher> m_doNotDisturb;
    std::unique_ptr<MenuBarController> m_menuBar;
    std::unique_ptr<NotificationController> m_notifications;
    std::unique_ptr<NotchController> m_notch;
    std::unique_ptr<SocketServer> m_socket;
    std::unique_ptr<DesktopActions> m_actions;
    // Made on first use and kept for the life of the process.
    std::unique_ptr<StateClient> m_stateClient;
    std::unique_ptr<AppState> m_appState;
    std::unique_ptr<LoginItem> m_loginItem;
    std::unique_ptr<DesktopColorScheme> m_colorScheme; // with the first window
    std::unique_ptr<PreferencesWindowController> m_prefsWC;
    std::unique_ptr<MainWindowController> m_mainWC;
    std::unique_ptr<NativePreviewWindowController> m_nativePreviewWC;
    bool m_ownsBusName = false;
};
