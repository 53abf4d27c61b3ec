#include "ipc/SocketServer.h"

#include <QCoreApplication>
#include <QPointer>

#include <algorithm>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <variant>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// One connected terminal. The descriptor is closed when the last holder lets go, so a
// broadcast that took a snapshot can never write into a number the kernel has reused.
struct Client {
    explicit Client(int f)
        : fd(f)
    {
    }
    ~Client() { ::close(fd); }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    const int fd;
    // A write timed out: the line may be cut in the middle, so later broadcasts skip it.
    std::atomic<bool> stalled { false };
};

// The bytes of one terminal not yet cut into lines: the unfinished line at the front, each
// read landing right after it.
//
// Keeping a long line means touching fresh memory, and a fresh 4 KiB page costs a fault; in a
// virtual machine a fault is dear (about 25 µs on the Firecracker VM we measure on, where
// filling fresh malloc'd memory ran at 170 MB/s). So short lines live in one heap block of
// fixed size, and a line that outgrows it moves once into a mapping of its own, aligned to
// 2 MiB and marked for transparent huge pages, so the kernel backs it 2 MiB a fault. The
// mapping doubles with mremap(), which moves page tables, never bytes, into a fresh aligned
// range, so the huge pages stay whole. When the line ends, what follows it (less than one
// read, which never asks for more than the heap block holds) goes back to the heap block and
// the mapping is unmapped without being touched again.
class PendingBytes
{
public:
    // The least room a read is given.
    static constexpr size_t readBytes = 128 * 1024;

    PendingBytes()
        : m_block(new char[blockBytes]) // not value-initialised: no byte is written twice
        , m_data(m_block.get())
        , m_capacity(blockBytes)
    {
    }
    ~PendingBytes() { unmap(); }
    PendingBytes(const PendingBytes &) = delete;
    PendingBytes &operator=(const PendingBytes &) = delete;

    char *data() const { return m_data; }
    size_t size() const { return m_used; }

    // The free tail for the next read, at least `readBytes` long; null when no memory is left
    // for it.
    char *tail()
    {
        if (m_capacity - m_used < readBytes && !grow(std::max(2 * m_capacity, m_used + readBytes)))
            return nullptr;
        return m_data + m_used;
    }
    // How much the next read may ask for: as much as the socket holds, when there is room,
    // but never more than the heap block takes, where the bytes after a line go.
    size_t room() const { return std::min(m_capacity - m_used, blockBytes); }
    void added(size_t n) { m_used += n; }

    // Forgets the first `n` bytes (whole lines) and gives a mapping back.
    void drop(size_t n)
    {
        m_used -= n;
        std::memmove(m_block.get(), m_data + n, m_used);
        unmap();
        m_data = m_block.get();
        m_capacity = blockBytes;
    }

private:
    static constexpr size_t blockBytes = 2 * readBytes;
    static constexpr size_t hugePage = 2 * 1024 * 1024;

    // An address range of `bytes` (a multiple of hugePage) starting on a huge-page boundary.
    static char *mapAligned(size_t bytes)
    {
        void *p = ::mmap(nullptr, bytes + hugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED)
            return nullptr;
        const auto start = reinterpret_cast<uintptr_t>(p);
        const uintptr_t aligned = (start + hugePage - 1) & ~(hugePage - 1);
        if (aligned > start)
            ::munmap(p, aligned - start);
        ::munmap(reinterpret_cast<char *>(aligned) + bytes, start + hugePage - aligned);
        return reinterpret_cast<char *>(aligned);
    }

    bool grow(size_t wanted)
    {
        const size_t bytes = (wanted + hugePage - 1) & ~(hugePage - 1);
        char *const to = mapAligned(bytes);
        if (!to)
            return false;
        ::madvise(to, bytes, MADV_HUGEPAGE); // a kernel without huge pages gives small ones
        if (m_data == m_block.get()) {
            std::memcpy(to, m_data, m_used);
        } else if (::mremap(m_data, m_capacity, bytes, MREMAP_MAYMOVE | MREMAP_FIXED, to) == MAP_FAILED) {
            ::munmap(to, bytes);
            return false;
        }
        m_data = to;
        m_capacity = bytes;
        return true;
    }

    void unmap()
    {
        if (m_data != m_block.get())
            ::munmap(m_data, m_capacity);
    }

    std::unique_ptr<char[]> m_block;
    char *m_data;
    size_t m_capacity;
    size_t m_used = 0;
};

using Event = std::variant<NotifyFrame, QString>;

// Writes the whole line, blocking the caller, but for at most the send timeout in all:
// one deadline for the line, however the kernel cuts it into partial writes.
bool writeLine(Client &client, const QByteArray &line)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(SocketServer::sendTimeoutSeconds);
    const char *rest = line.constData();
    qsizetype left = line.size();
    while (left > 0) {
        const ssize_t n = ::send(client.fd, rest, size_t(left), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            rest += n;
            left -= n;
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            const auto remaining
                = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            pollfd pfd { client.fd, POLLOUT, 0 };
            const int ready = remaining.count() > 0 ? ::poll(&pfd, 1, int(remaining.count())) : 0;
            if (ready > 0 || (ready < 0 && errno == EINTR))
                continue;
            client.stalled = true;
        }
        return false; // the reader notices a broken connection; nothing is closed here
    }
    return true;
}

void postToMain(std::function<void()> fn)
{
    if (QCoreApplication *app = QCoreApplication::instance())
        QMetaObject::invokeMethod(app, std::move(fn), Qt::QueuedConnection);
}

} // namespace

struct SocketServer::Shared : std::enable_shared_from_this<SocketServer::Shared> {
    QString path;
    QPointer<SocketServer> owner;

    std::atomic<int> listenFD { -1 };
    std::function<int(int)> acceptFn = [](int fd) { return ::accept4(fd, nullptr, nullptr, SOCK_CLOEXEC); };
    int lockFD = -1; // advisory lock beside the socket; only the holder touches the file
    bool ownsPath = false; // set on the set-up thread, read by stop() after running is false

    std::mutex clientsLock;
    std::unordered_map<int, std::shared_ptr<Client>> clients;

    std::mutex stateLock;
    bool running = false;
    bool stopRequested = false;
    std::condition_variable stopped; // wakes an accept loop pausing after a failure

    std::mutex threadsLock;
    std::condition_variable threadsDone;
    int activeThreads = 0;

    bool isRunning()
    {
        std::lock_guard g(stateLock);
        return running;
    }

    void log(const QString &message)
    {
        postToMain([owner = owner, message] {
            if (owner)
                Q_EMIT owner->logged(message);
        });
    }

    void deliver(std::vector<Event> events)
    {
        postToMain([owner = owner, events = std::move(events)] {
            for (const Event &e : events) {
                if (!owner)
                    return;
                if (const auto *frame = std::get_if<NotifyFrame>(&e))
                    Q_EMIT owner->notifyReceived(*frame);
                else
                    Q_EMIT owner->logged(std::get<QString>(e));
            }
        });
    }

    template<typename Fn> void spawn(Fn fn)
    {
        {
            std::lock_guard g(threadsLock);
            ++activeThreads;
        }
        // The thread keeps the shared state alive; the SocketServer itself is held weakly.
        std::thread([self = shared_from_this(), fn = std::move(fn)]() mutable {
            fn();
            std::lock_guard g(self->threadsLock);
            --self->activeThreads;
            self->threadsDone.notify_all();
        }).detach();
    }

    void bindAndListen();
    void acceptLoop();
    void serveClient(const std::shared_ptr<Client> &client);
};

void SocketServer::Shared::bindAndListen()
{
    const QByteArray pathBytes = path.toUtf8();
    const std::filesystem::path dir = std::filesystem::path(pathBytes.toStdString()).parent_path();
    const QString dirText = QString::fromStdString(dir.string());
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec) {
        log(QStringLiteral("socket: cannot create dir %1: %2 — IPC disabled, app still runs")
                .arg(dirText, QString::fromStdString(ec.message())));
        return;
    }

    // Only the process holding the lock may remove or replace the socket, so a second
    // instance can never take the link from a running one.
    const QByteArray lockPath = pathBytes + ".lock";
    const int lfd = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lfd < 0 || ::flock(lfd, LOCK_EX | LOCK_NB) != 0) {
        const int err = errno;
        if (lfd >= 0)
            ::close(lfd);
        log(err == EWOULDBLOCK
                ? QStringLiteral("socket: another instance is listening at %1 — IPC disabled, app still runs").arg(path)
                : QStringLiteral("socket: cannot lock %1 (errno %2) — IPC disabled, app still runs")
                      .arg(QString::fromUtf8(lockPath))
                      .arg(err));
        return;
    }
    lockFD = lfd;

    ::unlink(pathBytes.constData()); // a stale socket from a crashed run

    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        log(QStringLiteral("socket: socket() failed (errno %1) — IPC disabled, app still runs").arg(errno));
        return;
    }

    sockaddr_un addr {};
    addr.sun_family = AF_UNIX;
    constexpr int maxPathBytes = int(sizeof(addr.sun_path)) - 1;
    if (pathBytes.size() > maxPathBytes) {
        log(QStringLiteral("socket: path too long (%1 > %2) — IPC disabled").arg(pathBytes.size()).arg(maxPathBytes));
        ::close(fd);
        return;
    }
    std::memcpy(addr.sun_path, pathBytes.constData(), size_t(pathBytes.size()));

    if (::bind(fd, reinterpret_cast<const sockaddr *>(&addr), sizeof(addr)) != 0) {
        log(QStringLiteral("socket: bind() failed at %1 (errno %2) — IPC disabled, app still runs")
                .arg(path)
                .arg(errno));
        ::close(fd);
        return;
    }
    ownsPath = true;
    ::chmod(pathBytes.constData(), 0600); // only the owner may connect

    if (::listen(fd, 8) != 0) {
        log(QStringLiteral("socket: listen() failed (errno %1) — IPC disabled").arg(errno));
        ::close(fd);
        ::unlink(pathBytes.constData());
        return;
    }

    {
        std::lock_guard g(stateLock);
        if (stopRequested) { // stop() came while we were setting up
            ::close(fd);
            ::unlink(pathBytes.constData());
            return;
        }
        listenFD = fd;
        running = true;
    }
    log(QStringLiteral("socket: listening at %1").arg(path));
    acceptLoop();
}

// accept() errors are passing conditions here: out of descriptors or memory (EMFILE, ENFILE,
// ENOBUFS, ENOMEM), a connection that went away while queued (ECONNABORTED, EPROTO). The
// waiting terminal stays in the backlog, so after a pause the loop takes it; only stop()
// ends the loop. A burst of failures is logged once.
void SocketServer::Shared::acceptLoop()
{
    using namespace std::chrono_literals;
    constexpr auto firstPause = 100ms, longestPause = 1000ms;
    auto pause = firstPause;
    bool failing = false;
    while (isRunning()) {
        const int cfd = acceptFn(listenFD);
        if (cfd < 0) {
            const int err = errno;
            if (err == EINTR)
                continue;
            if (!isRunning())
                return;
            if (!failing)
                log(QStringLiteral("socket: accept() failed (errno %1)").arg(err));
            failing = true;
            std::unique_lock g(stateLock);
            if (stopped.wait_for(g, pause, [this] { return !running; }))
                return;
            pause = std::min(pause * 2, longestPause);
            continue;
        }
        failing = false;
        pause = firstPause;
        auto client = std::make_shared<Client>(cfd);
        {
            std::lock_guard g(clientsLock);
            clients.emplace(cfd, client);
        }
        spawn([this, client] { serveClient(client); });
    }
}

// Only the bytes just read are searched for a line feed and no byte is moved while a line
// grows (see PendingBytes), so a line of any length is taken in in linear time.
void SocketServer::Shared::serveClient(const std::shared_ptr<Client> &client)
{
    PendingBytes pending;
    while (isRunning()) {
        char *const into = pending.tail();
        if (!into) {
            log(QStringLiteral("socket: no memory left for a line of %1 bytes — connection closed")
                    .arg(pending.size()));
            break;
        }
        const ssize_t n = ::read(client->fd, into, pending.room());
        if (n <= 0) {
            if (n < 0 && errno == EINTR)
                continue;
            break;
        }

        // Every frame of one read crosses to the main thread in one hop, in order.
        std::vector<Event> events;
        char *const data = pending.data();
        char *start = data;
        char *const end = into + n;
        for (char *from = into; auto *nl = static_cast<char *>(std::memchr(from, '\n', size_t(end - from)));
             from = start) {
            char *const line = start;
            const qsizetype length = nl - line;
            start = nl + 1;
            if (length == 0)
                continue;
            // The line is parsed where it lies; its newline becomes the parser's end mark.
            std::optional<NotifyFrame> frame = Frames::decodeNotifyInPlace(line, length);
            if (!frame)
                events.emplace_back(QStringLiteral("socket: ignored unparseable frame (%1 bytes)").arg(length));
            else if (frame->type == QLatin1String("notify"))
                events.emplace_back(std::move(*frame));
        }
        pending.added(size_t(n));
        // The frames go first: giving a long line's memory back must not delay them.
        if (!events.empty())
            deliver(std::move(events));
        if (start > data)
            pending.drop(size_t(start - data));
    }

    // An unterminated last line is dropped with the connection.
    std::lock_guard g(clientsLock);
    clients.erase(client->fd);
}

SocketServer::SocketServer(const QString &path, QObject *parent)
    : QObject(parent)
    , d(std::make_shared<Shared>())
{
    d->path = path;
    d->owner = this;
}

SocketServer::~SocketServer()
{
    stop();
    // Wait for the set-up and reader threads: they hold no reference to this object,
    // but a clean exit should not leave them mid-syscall on the shared state.
    std::unique_lock g(d->threadsLock);
    d->threadsDone.wait_for(g, std::chrono::seconds(3), [this] { return d->activeThreads == 0; });
}

QString SocketServer::path() const
{
    return d->path;
}

void SocketServer::start()
{
    std::shared_ptr<Shared> s = d;
    s->spawn([s] { s->bindAndListen(); });
}

void SocketServer::stop()
{
    {
        std::lock_guard g(d->stateLock);
        d->running = false;
        d->stopRequested = true;
    }
    d->stopped.notify_all();
    const int lfd = d->listenFD.exchange(-1);
    if (lfd >= 0) {
        ::shutdown(lfd, SHUT_RDWR); // wakes a blocked accept(); close() alone does not on Linux
        ::close(lfd);
    }
    {
        std::lock_guard g(d->clientsLock);
        for (auto &[fd, client] : d->clients)
            ::shutdown(fd, SHUT_RDWR); // the reader wakes, and the last holder closes it
        d->clients.clear();
    }
    if (d->ownsPath) {
        ::unlink(d->path.toUtf8().constData());
        d->ownsPath = false;
    }
    if (d->lockFD >= 0) {
        ::close(d->lockFD);
        d->lockFD = -1;
    }
}

void SocketServer::setAcceptForTesting(std::function<int(int)> accept)
{
    d->acceptFn = std::move(accept);
}

int SocketServer::clientCount() const
{
    std::lock_guard g(d->clientsLock);
    return int(d->clients.size());
}

bool SocketServer::broadcast(const ReplyFrame &frame)
{
    return broadcastLine(Frames::encode(frame));
}
bool SocketServer::broadcast(const FillFrame &frame)
{
    return broadcastLine(Frames::encode(frame));
}

bool SocketServer::broadcastLine(QByteArray line)
{
    if (line.isEmpty())
        return false;
    line.append('\n');

    std::vector<std::shared_ptr<Client>> snapshot;
    {
        std::lock_guard g(d->clientsLock);
        snapshot.reserve(d->clients.size());
        for (const auto &[fd, client] : d->clients)
            snapshot.push_back(client);
    }

    bool delivered = false;
    for (const std::shared_ptr<Client> &client : snapshot) {
        if (client->stalled)
            continue;
        if (writeLine(*client, line))
            delivered = true;
        else if (client->stalled)
            d->log(QStringLiteral(
                "socket: a client stopped reading (write timed out after %1 s) — dropped from broadcasts")
                       .arg(sendTimeoutSeconds));
    }
    return delivered;
}
