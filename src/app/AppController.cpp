#include "app/AppController.h"

#include "app/DeepLink.h"
#include "platform/DesktopActions.h"
#include "platform/DesktopColorScheme.h"
#include "platform/DoNotDisturbWatcher.h"
#include "platform/XdgAutostart.h"
#include "state/AppState.h"
#include "state/StateClient.h"
#include "ui/MainWindowController.h"
#include "ui/NativePreviewWindowController.h"
#include "ui/PreferencesWindowController.h"
#include "ui/QmlViews.h"

#include "alerts/AlertPolicy.h"
#include "alerts/MenuBarController.h"
#include "alerts/NotchController.h"
#include "alerts/NotificationController.h"
#include "core/Characters.h"
#include "core/Log.h"
#include "ipc/IPCPath.h"
#include "ipc/SocketServer.h"
#include "platform/FreedesktopNotifications.h"
#include "platform/NotchPlatform.h"
#include "platform/SystemTray.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPointer>
#include <QQuickWindow>
#include <QTimer>
#include <QUrl>

AppController::AppController(QObject *parent)
    : QObject(parent)
    , m_tray(std::make_unique<SystemTray>())
    , m_notificationServer(std::make_unique<FreedesktopNotifications>())
    , m_doNotDisturb(std::make_unique<DoNotDisturbWatcher>())
    , m_menuBar(std::make_unique<MenuBarController>(*m_tray))
    , m_notifications(std::make_unique<NotificationController>(*m_notificationServer))
    , m_notch(
          std::make_unique<NotchController>(NotchPlatform::ports([](QQuickView &view, const QVariantMap &properties) {
              return QmlViews::load(view, QStringLiteral("NotchOverlayView"), properties);
          })))
    , m_socket(std::make_unique<SocketServer>(IPCPath::socketPath()))
{
}

AppController::~AppController() = default;

StateClient &AppController::stateClient()
{
    appState();
    return *m_stateClient;
}

AppState &AppController::appState()
{
    if (!m_appState) {
        m_stateClient = std::make_unique<StateClient>();
        m_appState = std::make_unique<AppState>();
        m_appState->follow(*m_stateClient);
        // Reading a conversation in the window reads that sender's tray items too.
        connect(m_appState.get(), &AppState::selectionChanged, this, [this] {
            const auto &selection = m_appState->selection();
            if (selection && selection->isConversation())
                markSenderRead(selection->peer());
        });
    }
    return *m_appState;
}

void AppController::followColorScheme()
{
    if (!m_colorScheme)
        m_colorScheme = std::make_unique<DesktopColorScheme>();
}

void AppController::openMainWindow(const std::optional<QString> &focusPeer)
{
    if (!m_mainWC) {
        followColorScheme();
        m_mainWC = std::make_unique<MainWindowController>(appState(), stateClient());
        connect(m_mainWC.get(), &MainWindowController::openPreferencesRequested, this, &AppController::openPreferences);
        connect(m_mainWC.get(), &MainWindowController::closed, this, &AppController::windowClosed);
        Log::info(Log::Category::lifecycle, QStringLiteral("mainwindow: controller created"));
    }
    m_mainWC->open(focusPeer);
}

void AppController::openConversation(const QString &peer)
{
    // The window opens as it is, then the selection moves: the same path a click in the
    // sidebar takes, so the open is logged without the deep-link suffix.
    openMainWindow();
    appState().setSelection(DetailSelection::conversation(peer));
}

void AppController::markSenderRead(const QString &sender)
{
    const auto &recents = m_menuBar->recents();
    const auto unread = std::count_if(
        recents.cbegin(), recents.cend(), [&](const RecentItem &r) { return r.sender == sender && !r.read; });
    for (qsizetype i = 0; i < unread; ++i)
        m_menuBar->markRead(sender);
}

void AppController::openProfile()
{
    openMainWindow();
    appState().setSelection(DetailSelection::profile());
}

void AppController::openPreferences()
{
    if (!m_prefsWC) {
        followColorScheme();
        if (!m_loginItem)
            m_loginItem = std::make_unique<XdgLoginItem>(QCoreApplication::applicationFilePath());
        m_prefsWC = std::make_unique<PreferencesWindowController>(m_loginItem.get());
        connect(m_prefsWC.get(), &PreferencesWindowController::closed, this, &AppController::windowClosed);
        Log::info(Log::Category::lifecycle, QStringLiteral("prefs: window created"));
    }
    m_prefsWC->open();
}

void AppController::openNativePreviewWindow()
{
    if (!m_nativePreviewWC) {
        followColorScheme();
        m_nativePreviewWC = std::make_unique<NativePreviewWindowController>();
        connect(m_nativePreviewWC.get(), &NativePreviewWindowController::closed, this, &AppController::windowClosed);
        Log::info(Log::Category::lifecycle, QStringLiteral("native-preview: controller created"));
    }
    m_nativePreviewWC->open();
}

void AppController::windowClosed()
{
    // On the next turn, when the closing window is gone: the app is an accessory again
    // once no ordinary window is visible (the overlay and menus do not count).
    QTimer::singleShot(0, this, [] {
        const QWindowList windows = QGuiApplication::topLevelWindows();
        for (const QWindow *w : windows) {
            const Qt::WindowType type = w->type();
            if (w->isVisible() && (type == Qt::Window || type == Qt::Dialog))
                return;
        }
        Log::info(Log::Category::mainwindow, QStringLiteral("close: returned to menu-bar accessory"));
    });
}

void AppController::applicationDidFinishLaunching()
{
    // Notices arrive as signals connected with the controller as context, so none is
    // delivered once it is gone; the callbacks that answer "delivered" hold it weakly.
    const QPointer<AppController> self(this);

    // An accessory from the start: with no window open only the tray icon shows
    // (QApplication::quitOnLastWindowClosed is off). The app-wide shortcuts and the URL
    // handler (the session-bus name) are installed by main before this runs.
    registerLoginItem();

    connect(m_menuBar.get(), &MenuBarController::openPreferencesRequested, this, &AppController::openPreferences);
    connect(m_menuBar.get(), &MenuBarController::openAppRequested, this, [this] { openMainWindow(); });
    applyEnvironmentSwitches();

    connect(m_notifications.get(), &NotificationController::logged, this,
        [](const QString &line) { Log::emit(Log::Category::notify, line); });
    connect(m_notch.get(), &NotchController::logged, this,
        [](const QString &line) { Log::emit(Log::Category::notch, line); });
    connect(m_socket.get(), &SocketServer::logged, this,
        [](const QString &line) { Log::emit(Log::Category::socket, line); });

    connect(m_socket.get(), &SocketServer::notifyReceived, this, &AppController::handleNotify);

    m_notifications->onReply = [self](const ReplyFrame &frame) {
        return self ? self->sendReply(frame, QStringLiteral("reply → CLI")) : false;
    };
    m_notch->onReply = [self](const ReplyFrame &frame) {
        return self ? self->sendReply(frame, QStringLiteral("notch reply → CLI")) : false;
    };
    m_notch->onFill = [self](const FillFrame &frame) {
        if (!self)
            return false;
        const bool delivered = self->m_socket->broadcast(frame);
        Log::info(Log::Category::fill,
            QStringLiteral("fill → CLI (user-initiated): %1 chars msgId=%2 delivered=%3")
                .arg(Characters::count(frame.text))
                .arg(frame.msgId.value_or(QStringLiteral("<none>")), Log::boolText(delivered)));
        return delivered;
    };
    connect(m_notch.get(), &NotchController::openAppRequested, this, [this](const QString &sender) {
        openConversation(sender);
        Log::info(Log::Category::lifecycle, QStringLiteral("notch → mainwindow: opened + selected @%1").arg(sender));
    });
    // Desktops without an inline reply field: the banner's "回复" opens the overlay's.
    connect(
        m_notifications.get(), &NotificationController::replyFieldRequested, this, [this](const NotifyFrame &frame) {
            if (!m_notch->openReply(frame, m_menuBar->unread()))
                Log::emit(
                    Log::Category::reply, QStringLiteral("reply: no screen for the reply field of @") + frame.sender);
        });
    connect(m_notifications.get(), &NotificationController::openRequested, this, [this](const QString &sender) {
        m_menuBar->markRead(sender);
        openSender(sender);
    });
    connect(m_menuBar.get(), &MenuBarController::openSenderRequested, this, &AppController::openSender);
    startDesktopActions();

    m_notifications->bootstrap();
    m_socket->start();
    Log::info(Log::Category::lifecycle, QStringLiteral("launched (menu-bar accessory)"));
}

void AppController::registerLoginItem()
{
    const XdgAutostart::LaunchOutcome outcome = XdgAutostart::atLaunch(QCoreApplication::applicationFilePath());
    const QString path = XdgAutostart::entryPath();
    switch (outcome.kind) {
    case XdgAutostart::LaunchOutcome::registered:
        Log::info(Log::Category::lifecycle, QStringLiteral("login-item: registered via XDG autostart %1").arg(path));
        break;
    case XdgAutostart::LaunchOutcome::failed:
        Log::error(Log::Category::lifecycle, QStringLiteral("login-item: register failed: %1").arg(outcome.detail));
        break;
    case XdgAutostart::LaunchOutcome::turnedOffByUser:
        Log::info(Log::Category::lifecycle,
            QStringLiteral("login-item: turned off by the user (%1 in %2) — left as it is").arg(outcome.detail, path));
        break;
    case XdgAutostart::LaunchOutcome::removedByUser:
        Log::info(Log::Category::lifecycle,
            QStringLiteral("login-item: turned off by the user (%1 removed) — left as it is").arg(path));
        break;
    case XdgAutostart::LaunchOutcome::enabled:
        break;
    }
}

void AppController::applyEnvironmentSwitches()
{
    // Honoured only for exactly "1", and run after start-up has finished (the timers'
    // context is the controller, so none runs once it is gone).
    const auto on = [](const char *name) { return qgetenv(name) == "1"; };
    if (on("QUILLMOTE_OPEN_WINDOW"))
        QTimer::singleShot(0, this, [this] { openMainWindow(); });
    if (on("QUILLMOTE_OPEN_PROFILE"))
        QTimer::singleShot(0, this, &AppController::openProfile);
    if (on("QUILLMOTE_PREVIEW"))
        QTimer::singleShot(0, this, &AppController::openNativePreviewWindow);
}

void AppController::startDesktopActions()
{
    if (!m_ownsBusName) {
        Log::info(Log::Category::intents, QStringLiteral("desktop actions: no session bus name of ours — not offered"));
        return;
    }
    m_actions = std::make_unique<DesktopActions>();
    // A KRunner run has no window of its own: its answer, or its error, comes as a banner.
    connect(&m_actions->krunner(), &KRunnerBridge::resultReady, this,
        [this](const QString &title, const QString &text, bool failed) {
            m_notifications->presentNotice(title, text, failed);
        });
    m_actions->start();
    m_doNotDisturb->start();
}

void AppController::handleURLString(const QString &text)
{
    if (text.isEmpty()) {
        Log::info(Log::Category::lifecycle, QStringLiteral("url-scheme: received an event with no URL string"));
        return;
    }
    const QUrl url(text);
    if (url.isValid())
        handleDeepLink(url, DeepLink::parse(text));
}

void AppController::handleDeepLink(const QUrl &url)
{
    handleDeepLink(url, DeepLink::parse(url));
}

void AppController::handleDeepLink(const QUrl &url, const DeepLink &link)
{
    if (link.kind == DeepLink::Kind::conversation)
        openConversation(link.target);
    Log::info(Log::Category::lifecycle, link.logLine(url));
}

void AppController::applicationWillTerminate()
{
    m_socket->stop();
}

void AppController::openSender(const QString &sender)
{
    // The wake-up URL goes straight to our own handler, where it is logged and does
    // nothing more; then the window shows the conversation, closed or not.
    const QUrl url = DeepLink::openSenderUrl(sender);
    if (url.isValid())
        handleDeepLink(url);
    openConversation(sender);
    markSenderRead(sender);
}

bool AppController::sendReply(const ReplyFrame &frame, const QString &logPrefix)
{
    const bool delivered = m_socket->broadcast(frame);
    Log::info(Log::Category::reply,
        QStringLiteral("%1: @%2 \"%3\" msgId=%4 delivered=%5")
            .arg(logPrefix, frame.sender, Log::priv(frame.text), frame.msgId.value_or(QStringLiteral("<none>")),
                Log::boolText(delivered)));
    return delivered;
}

void AppController::handleNotify(const NotifyFrame &frame)
{
    // The banner first: it is what the user waits for, and it needs nothing the tray or the
    // overlay do, so their work (and a long body's) never delays it.
    const Alert alert = AlertPolicy::decide(frame, AlertPolicy::Switches::current(), m_doNotDisturb->doNotDisturb());
    switch (alert.banner) {
    case Alert::Banner::none:
        Log::info(Log::Category::notify,
            QStringLiteral("focus-quiet: terminal focused + quiet mode on → notch pulse only (no banner)"));
        break;
    case Alert::Banner::low:
        m_notifications->present(frame, Banner::Urgency::low);
        break;
    case Alert::Banner::normal:
        m_notifications->present(frame, Banner::Urgency::normal);
        break;
    case Alert::Banner::critical:
        m_notifications->present(frame, Banner::Urgency::critical);
        break;
    }

    const QString title = frame.title.value_or(QStringLiteral("@") + frame.sender);
    // The menu bar before the overlay, so the unread count already includes this message.
    m_menuBar->addMessage(frame.sender, title, frame.body);
    Log::info(Log::Category::notify,
        QStringLiteral("socket: onNotify %1 from %2").arg(frame.msgId.value_or(QStringLiteral("<no-id>")), title));
    m_notch->present(frame, m_menuBar->unread(), alert);
}
