#include "app/AppController.h"

#include "alerts/MenuBarController.h"
#include "alerts/NotchController.h"
#include "alerts/NotificationController.h"
#include "app/Log.h"
#include "app/SettingsStore.h"
#include "ipc/IPCPath.h"
#include "ipc/SocketServer.h"
#include "platform/FreedesktopNotifications.h"
#include "platform/NotchPlatform.h"
#include "platform/SystemTray.h"

#include <QPointer>
#include <QUrl>

AppController::AppController(QObject *parent)
    : QObject(parent)
    , m_tray(std::make_unique<SystemTray>())
    , m_notificationServer(std::make_unique<FreedesktopNotifications>())
    , m_menuBar(std::make_unique<MenuBarController>(*m_tray))
    , m_notifications(std::make_unique<NotificationController>(*m_notificationServer))
    , m_notch(std::make_unique<NotchController>(NotchPlatform::ports()))
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
    m_notch->onLog = [](const QString &message) { Log::emit(Log::Category::notch, message); };
    m_socket->onLog = [](const QString &message) { Log::emit(Log::Category::socket, message); };

    m_socket->onNotify = [self](const NotifyFrame &frame) {
        if (self)
            self->handleNotify(frame);
    };

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
        Log::info(Log::Category::fill, QStringLiteral("fill → CLI (user-initiated): %1 chars msgId=%2 delivered=%3")
                                           .arg(frame.text.size())
                                           .arg(frame.msgId.value_or(QStringLiteral("<none>")), Log::boolText(delivered)));
        return delivered;
    };
    m_notch->onOpenApp = [self](const QString &sender) {
        // The main window comes later; until then the request is logged.
        if (self)
            Log::info(Log::Category::lifecycle, QStringLiteral("notch → mainwindow: requested for @%1").arg(sender));
    };
    // Desktops without an inline reply field: the banner's "回复" opens the overlay's.
    m_notifications->onOpenReply = [self](const NotifyFrame &frame) {
        if (self && !self->m_notch->openReply(frame, self->m_menuBar->unread()))
            Log::emit(Log::Category::reply, QStringLiteral("reply: no screen for the reply field of @") + frame.sender);
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
        m_notch->present(frame, m_menuBar->unread(), true);
        Log::info(Log::Category::notify,
                  QStringLiteral("focus-quiet: terminal focused + quiet mode on → notch pulse only (no banner)"));
        return;
    }
    m_notch->present(frame, m_menuBar->unread(), false);
    m_notifications->present(frame);
}
