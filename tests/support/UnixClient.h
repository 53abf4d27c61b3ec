#pragma once

#include <QByteArray>
#include <QString>

// A raw terminal-side client of the socket, for tests that need exact bytes and timing.
class UnixClient
{
public:
    UnixClient() = default;
    ~UnixClient();
    UnixClient(const UnixClient &) = delete;
    UnixClient &operator=(const UnixClient &) = delete;

    bool connectTo(const QString &path, int timeoutMs = 3000);
    bool write(const QByteArray &bytes);
    // One line without its newline, or a null array on timeout or end of stream.
    QByteArray readLine(int timeoutMs = 3000);
    void close();

private:
    int m_fd = -1;
    QByteArray m_pending;
};
