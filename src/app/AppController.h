#pragma once

#include "ipc/Frames.h"

#include <QObject>

#include <memory>

class SocketServer;

// The only place where the components meet: creates them, binds their callbacks and
// fans every incoming message frame out to them.
class AppController : public QObject
{
    Q_OBJECT
public:
    explicit AppController(QObject *parent = nullptr);
    ~AppController() override;

    // Start-up: binds the callbacks, starts the socket server, logs "launched".
    void applicationDidFinishLaunching();
    // Termination stops the socket server and nothing else.
    void applicationWillTerminate();

    SocketServer &socket() { return *m_socket; }

private:
    void handleNotify(const NotifyFrame &frame);

    std::unique_ptr<SocketServer> m_socket;
};
