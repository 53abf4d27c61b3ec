#include "app/AppController.h"

#include "alerts/MenuBarController.h"
#include "alerts/NotificationController.h"
#include "app/Log.h"
#include "app/SettingsStore.h"
#include "ipc/IPCPath.h"
#include "ipc/SocketServer.h"
#include "platform/FreedesktopNotifications.h"
#include "platform/SystemTray.h"

#include <QPointer>
#include <QUrl>

AppController::AppController(QObject *parent)
    : QObject(parent)
    , m_tray(std::make_unique<SystemTray>())
    , m_notificationServer(std::make_unique<FreedesktopNotifications>())
    , m_menuBar(std::make_unique<MenuBarController>(*m_tray))
    , m_notifications(std::make_unique<NotificationController>(*m_notificationServer))
    , m_socket(std::make_unique<SocketServer>(IPCPath::socketPath()))
{
}

AppController::~AppController() = default;

void AppController::applicationDidFinishLaunching()
{
    // Callbacks hold the controller weakly: one that fires after it is gone does nothing.
    const QPointer<AppController> self(this);

    m_menuBar->onOpenPreferences = [self] {
        if (self)
            Log::info(Log::Category::lifecycle, QStringLiteral("prefs: requested from the tray menu"));
    };
    m_menuBar->onOpenApp = [self] {
        if (self)
            Log::info(Log::Category::lifecycle, QStringLiteral("mainwindow: requested from the tray menu"));
    };

    m_notifications->onLog = [](const QString &message) { Log::emit(Log::Category::notify, message); };
    m_socket->onLog = [](const QString &message) { Log::emit(Log::Category::socket, message); };

    m_socket->onNotify = [self](const NotifyFrame &frame) {
        if (self)
            self->handleNotify(frame);
    };

    m_notifications->onReply = [self](const ReplyFrame &frame) {
        return self ? self->sendReply(frame, QStringLiteral("reply → CLI")) : false;
    };
    m_notifications->onOpenReply = [self](const QString &sender, const std::optional<QString> &msgId) {
        if (!self)
            return;
        // The overlay's reply field takes this over once the notch is merged.
        Log::info(Log::Category::reply, QStringLiteral("reply: banner asked for the reply field of @%1 msgId=%2")
                                            .arg(sender, msgId.value_or(QStringLiteral("<none>"))));
    };
    m_notifications->onOpen = [self](const QString &sender) {
        if (!self)
            return;
        self->m_menuBar->markRead(sender);
        self->openSender(sender);
    };
    m_menuBar->onOpenSender = [self](const QString &sender) {
        if (self)
            self->openSender(sender);
    };

    m_notifications->bootstrap();
    m_socket->start();
    Log::info(Log::Category::lifecycle, QStringLiteral("launched (menu-bar accessory)"));
}

void AppController::applicationWillTerminate() { m_socket->stop(); }

void AppController::openSender(const QString &sender)
{
    // The main window and its deep links come later; until then the wake-up is logged.
    const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(sender));
    Log::info(Log::Category::lifecycle,
              QStringLiteral("open-sender: quillmote://open?sender=%1").arg(encoded.isEmpty() ? sender : encoded));
}

bool AppController::sendReply(const ReplyFrame &frame, const QString &logPrefix)
{
    const bool delivered = m_socket->broadcast(frame);
    Log::info(Log::Category::reply, QStringLiteral("%1: @%2 \"%3\" msgId=%4 delivered=%5")
                                        .arg(logPrefix, frame.sender, Log::priv(frame.text),
                                             frame.msgId.value_or(QStringLiteral("<none>")), Log::boolText(delivered)));
    return delivered;
}

void AppController::handleNotify(const NotifyFrame &frame)
{
    const QString title = frame.title.value_or(QStringLiteral("@") + frame.sender);
    // The menu bar first, so the unread count already includes this message below.
    m_menuBar->addMessage(frame.sender, title, frame.body);
    Log::info(Log::Category::notify, QStringLiteral("socket: onNotify %1 from %2")
                                         .arg(frame.msgId.value_or(QStringLiteral("<no-id>")), title));

    if (SettingsStore::flag(SettingsStore::Key::quietWhenFocused, false) && frame.focused.value_or(false)) {
        // Notch: present(frame, m_menuBar->unread(), pulse = true) once the overlay is merged.
        Log::info(Log::Category::notify,
                  QStringLiteral("focus-quiet: terminal focused + quiet mode on → notch pulse only (no banner)"));
        return;
    }
    // Notch: present(frame, m_menuBar->unread(), pulse = false) once the overlay is merged.
    m_notifications->present(frame);
}
