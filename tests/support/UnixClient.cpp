#include "support/UnixClient.h"

#include <QDeadlineTimer>
#include <QThread>

#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

UnixClient::~UnixClient()
{
    close();
}

bool UnixClient::connectTo(const QString &path, int timeoutMs)
{
    close();
    const QByteArray p = path.toUtf8();
    sockaddr_un addr {};
    addr.sun_family = AF_UNIX;
    if (size_t(p.size()) >= sizeof(addr.sun_path))
        return false;
    std::memcpy(addr.sun_path, p.constData(), size_t(p.size()));
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        m_fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(m_fd, reinterpret_cast<sockaddr *>(&addr), sizeof(addr)) == 0)
            return true;
        ::close(m_fd);
        m_fd = -1;
        QThread::msleep(10);
    }
    return false;
}

bool UnixClient::write(const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::send(m_fd, bytes.constData() + done, size_t(bytes.size() - done), MSG_NOSIGNAL);
        if (n <= 0)
            return false;
        done += n;
    }
    return true;
}

QByteArray UnixClient::readLine(int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        const qsizetype nl = m_pending.indexOf('\n');
        if (nl >= 0) {
            QByteArray line = m_pending.left(nl);
            m_pending.remove(0, nl + 1);
            return line;
        }
        pollfd pfd { m_fd, POLLIN, 0 };
        const int left = int(deadline.remainingTime());
        if (left <= 0 || ::poll(&pfd, 1, left) <= 0)
            return {};
        char buf[4096];
        const ssize_t n = ::read(m_fd, buf, sizeof(buf));
        if (n <= 0)
            return {};
        m_pending.append(buf, n);
    }
}

void UnixClient::close()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
    m_pending.clear();
}
