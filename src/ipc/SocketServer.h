#pragma once

#include "ipc/Frames.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

// The local end of the link with the command-line tool: a per-user Unix stream socket
// (0600) that accepts any number of terminals, reads newline-delimited frames from each,
// hands every notify frame to the main thread and writes reply/fill frames back to all.
//
// Set-up and accept run on a thread of their own, each client is read on its own thread,
// and notifyReceived/logged are always emitted on the main thread. Its failure never stops the
// app: the link is logged and disabled.
class SocketServer : public QObject
{
    Q_OBJECT
public:
    explicit SocketServer(const QString &path, QObject *parent = nullptr);
    ~SocketServer() override;

    QString path() const;

    // Binds and accepts in the background; returns at once.
    void start();
    // Stops accepting, closes every client and removes the socket file (if it is ours).
    void stop();

    // Writes one frame line to every connected client; true when at least one took the
    // whole line. Blocking, but each client's write gives up after the send timeout.
    bool broadcast(const ReplyFrame &frame);
    bool broadcast(const FillFrame &frame);

    // Number of connected clients right now.
    int clientCount() const;
    // Seconds a blocked write to one client may take before that client is abandoned.
    static constexpr int sendTimeoutSeconds = 2;

    // Tests only, before start(): stands in for accept4() on the listening descriptor, with
    // errno set as accept4() sets it.
    void setAcceptForTesting(std::function<int(int)> accept);

Q_SIGNALS:
    void notifyReceived(const NotifyFrame &frame);
    void logged(const QString &line);

private:
    bool broadcastLine(QByteArray line);

    struct Shared;
    std::shared_ptr<Shared> d;
};
