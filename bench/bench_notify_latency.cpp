// Message-to-banner latency as a terminal sees it: this process writes each frame to the
// running app's socket (the app is the real binary, a separate process, under the display and
// with the platform it picks for itself) and, as the desktop's notification server on the
// same private session bus, stamps each Notify call the moment it arrives. In the same run
// `notify-send` posts messages to the same server, timed from its start to the same stamp.
#include "BenchApp.h"
#include "BenchReport.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QElapsedTimer monotonic;

// Stamps every Notify before anything else and answers at once, on a thread of its own.
class StampingServer : public QDBusVirtualObject
{
public:
    std::atomic<int> count { 0 };
    std::atomic<qint64> lastNs { 0 };

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QString member = message.member();
        if (member == QLatin1String("Notify")) {
            lastNs = monotonic.nsecsElapsed();
            connection.send(message.createReply(QVariant::fromValue(uint(count + 1))));
            ++count;
            count.notify_all();
        } else if (member == QLatin1String("GetServerInformation")) {
            connection.send(message.createReply(QVariantList { "bench", "quillmote-bench", "1.0", "1.2" }));
        } else if (member == QLatin1String("GetCapabilities")) {
            connection.send(message.createReply(QVariant(QStringList { "actions", "body" })));
        } else if (member == QLatin1String("CloseNotification")) {
            connection.send(message.createReply());
        } else {
            return false;
        }
        return true;
    }
};

// Waits without spinning (the app needs the other core) until the server has seen `n` calls.
bool waitForCount(StampingServer &server, int n, int timeoutMs)
{
    QElapsedTimer t;
    t.start();
    for (int seen = server.count; seen < n; seen = server.count) {
        if (t.elapsed() > timeoutMs)
            return false;
        server.count.wait(seen); // woken by every Notify
    }
    return true;
}

double percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * double(v.size() - 1) + 0.5))];
}

} // namespace

int main(int argc, char *argv[])
{
    if (!inPrivateBus(argv))
        return fail("needs dbus-run-session");
    QCoreApplication core(argc, argv);
    monotonic.start();

    // Calls to an object are dispatched on its thread: nothing the main thread does below
    // delays the stamp.
    QThread serverThread;
    StampingServer server;
    server.moveToThread(&serverThread);
    serverThread.start();
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("server"));
    if (!bus.registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), &server)
        || !bus.registerService(QStringLiteral("org.freedesktop.Notifications")))
        return fail("cannot own org.freedesktop.Notifications");

    QTemporaryDir dir(QStringLiteral("/tmp/qml-XXXXXX"));
    QProcessEnvironment env = appEnvironment(dir.path());
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    QProcess app;
    app.setProcessEnvironment(env);
    app.setStandardErrorFile(QProcess::nullDevice());
    app.start(QCoreApplication::applicationDirPath() + QStringLiteral("/../src/app/quillmote-notifier"), {});
    if (!app.waitForStarted(5000))
        return fail("cannot start the app");

    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr {};
    addr.sun_family = AF_UNIX;
    const QByteArray path = (dir.path() + QStringLiteral("/qh/notifier.sock")).toUtf8();
    std::memcpy(addr.sun_path, path.constData(), size_t(path.size()));
    bool connected = false;
    for (int i = 0; i < 500 && !connected; ++i) {
        connected = ::connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0;
        if (!connected)
            ::usleep(10'000);
    }
    if (!connected)
        return fail("the app's socket never appeared");

    constexpr int warmup = 10, runs = 200, shellRuns = 30;
    std::vector<double> ours, theirs;
    for (int i = 0; i < warmup + runs; ++i) {
        // A handful of senders, as in a real inbox: their avatars are drawn once.
        const QByteArray line = QStringLiteral("{\"type\":\"notify\",\"sender\":\"bench%1\",\"title\":\"Bench\","
                                               "\"body\":\"message %2\",\"msgId\":\"b%2\"}\n")
                                    .arg(i % 7)
                                    .arg(i)
                                    .toUtf8();
        const int before = server.count;
        const qint64 start = monotonic.nsecsElapsed();
        if (::write(fd, line.constData(), size_t(line.size())) != line.size())
            return fail("the socket write failed");
        if (!waitForCount(server, before + 1, 10000))
            return fail("a Notify never arrived");
        if (i >= warmup)
            ours.push_back(double(server.lastNs - start) / 1e6);
        ::usleep(20'000); // a terminal does not write messages back to back
    }
    // The same with a 1 MB body: reading, decoding and announcing it should cost little more.
    std::vector<double> big;
    const QByteArray bigBody(1 << 20, 'm');
    for (int i = 0; i < 20; ++i) {
        const QByteArray line = "{\"type\":\"notify\",\"sender\":\"bench\",\"title\":\"Bench\",\"body\":\"" + bigBody
            + "\",\"msgId\":\"big" + QByteArray::number(i) + "\"}\n";
        const int before = server.count;
        const qint64 start = monotonic.nsecsElapsed();
        for (qsizetype done = 0; done < line.size();) {
            const ssize_t n = ::write(fd, line.constData() + done, size_t(line.size() - done));
            if (n <= 0)
                return fail("the socket write failed");
            done += n;
        }
        if (!waitForCount(server, before + 1, 10000))
            return fail("a Notify for a 1 MB body never arrived");
        big.push_back(double(server.lastNs - start) / 1e6);
        ::usleep(20'000);
    }
    for (int i = 0; i < shellRuns; ++i) {
        const int before = server.count;
        const qint64 start = monotonic.nsecsElapsed();
        QProcess p;
        p.start(QStringLiteral("notify-send"),
            { "-a", "Quillmote Notifier", "-c", "im.received", "Bench", QStringLiteral("message %1").arg(i) });
        if (!waitForCount(server, before + 1, 10000))
            return fail("notify-send's Notify never arrived");
        theirs.push_back(double(server.lastNs - start) / 1e6);
        p.waitForFinished(5000);
    }
    ::close(fd);
    app.terminate();
    app.waitForFinished(5000);

    const double p50 = percentile(ours, 0.5), shell50 = percentile(theirs, 0.5);
    reportBench(QStringLiteral("notify latency p50, from outside (socket write → Notify on the bus)"), p50,
        QStringLiteral("ms"), QStringLiteral("notify-send p50"), shell50);
    reportBench(QStringLiteral("notify latency p95, from outside"), percentile(ours, 0.95), QStringLiteral("ms"),
        QStringLiteral("notify-send p95"), percentile(theirs, 0.95));
    reportBench(QStringLiteral("notify-send / app (p50), target ≥ 10"), shell50 / p50, QStringLiteral("x"),
        QStringLiteral("target"), 10.0);
    reportBench(QStringLiteral("notify latency p50, 1 MB body (target ≤ 2× small)"), percentile(big, 0.5),
        QStringLiteral("ms"), QStringLiteral("small body p50"), p50);
    bus.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
    bus.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
    serverThread.quit();
    serverThread.wait();
    return 0;
}
