#include "app/AppController.h"

#include "app/Log.h"
#include "ipc/IPCPath.h"
#include "ipc/SocketServer.h"

#include <QPointer>

AppController::AppController(QObject *parent)
    : QObject(parent)
    , m_socket(std::make_unique<SocketServer>(IPCPath::socketPath()))
{
}

AppController::~AppController() = default;

void AppController::applicationDidFinishLaunching()
{
    // Callbacks hold the controller weakly: one that fires after it is gone does nothing.
    const QPointer<AppController> self(this);
    m_socket->onLog = [](const QString &message) { Log::emit(Log::Category::socket, message); };
    m_socket->onNotify = [self](const NotifyFrame &frame) {
        if (self)
            self->handleNotify(frame);
    };
    m_socket->start();
    Log::info(Log::Category::lifecycle, QStringLiteral("launched (menu-bar accessory)"));
}

void AppController::applicationWillTerminate() { m_socket->stop(); }

void AppController::handleNotify(const NotifyFrame &frame)
{
    const QString title = frame.title.value_or(QStringLiteral("@") + frame.sender);
    Log::info(Log::Category::notify, QStringLiteral("socket: onNotify %1 from %2")
                                         .arg(frame.msgId.value_or(QStringLiteral("<no-id>")), title));
}
