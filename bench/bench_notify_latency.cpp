// Message-to-banner latency: from the terminal's socket write until the Notify call
// reaches a notification server that answers at once, beside `notify-send` posting the
// same messages in the same run. Runs itself inside a private session bus. The server
// answers on a thread of its own, as a separate process would: work the app does on its
// main thread after sending (the overlay's drawing) does not delay the server's clock.
#include "BenchReport.h"

#include "../tests/fakes/FakeNotificationServer.h"
#include "alerts/NotificationController.h"
#include "app/AppController.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>

#include <algorithm>
#include <cstring>
#include <functional>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

double percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * double(v.size() - 1) + 0.5))];
}

int connectTo(const QString &path)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr {};
    addr.sun_family = AF_UNIX;
    const QByteArray p = path.toUtf8();
    std::memcpy(addr.sun_path, p.constData(), size_t(p.size()));
    for (int i = 0; i < 200; ++i) {
        if (::connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0)
            return fd;
        QCoreApplication::processEvents();
        ::usleep(10'000);
    }
    return -1;
}

bool spinUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariable("QM_BENCH_IN_BUS") != QLatin1String("1")) {
        qputenv("QM_BENCH_IN_BUS", "1");
        execlp("dbus-run-session", "dbus-run-session", "--", argv[0], static_cast<char *>(nullptr));
        std::fprintf(stderr, "bench_notify_latency: needs dbus-run-session\n");
        return 1;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir dir(QStringLiteral("/tmp/qmb-XXXXXX"));
    qputenv("QUILLMOTE_HOME", dir.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (dir.path() + "/config").toUtf8());
    qputenv("QT_LOGGING_RULES", "com.quillmote.*=false");
    QApplication app(argc, argv);

    QElapsedTimer clock;
    clock.start();
    std::atomic<qint64> arrivedNs { 0 };
    std::atomic<int> arrived { 0 };
    QThread serverThread;
    FakeNotificationServer server({ "actions", "body" });
    server.onNotify = [&](const FakeNotificationServer::Call &) {
        arrivedNs = clock.nsecsElapsed();
        ++arrived;
    };
    server.moveToThread(&serverThread);
    serverThread.start();
    if (!server.start()) {
        std::fprintf(stderr, "bench_notify_latency: cannot own org.freedesktop.Notifications\n");
        return 1;
    }

    AppController controller;
    controller.applicationDidFinishLaunching();
    const int fd = connectTo(dir.path() + "/notifier.sock");
    if (fd < 0 || !spinUntil([&] { return controller.notifications().isEnabled(); }, 5000)) {
        std::fprintf(stderr, "bench_notify_latency: app did not come up\n");
        return 1;
    }

    constexpr int warmup = 20, runs = 300, shellRuns = 40;
    std::vector<double> ours, theirs;
    for (int i = 0; i < warmup + runs; ++i) {
        const QByteArray line = QStringLiteral("{\"type\":\"notify\",\"sender\":\"bench%1\",\"title\":\"Bench\","
                                               "\"body\":\"message %1\",\"msgId\":\"b%1\"}\n")
                                    .arg(i)
                                    .toUtf8();
        const int before = arrived;
        const qint64 start = clock.nsecsElapsed();
        if (::write(fd, line.constData(), size_t(line.size())) != line.size())
            return 1;
        if (!spinUntil([&] { return arrived > before; }, 5000))
            return 1;
        if (i >= warmup)
            ours.push_back(double(arrivedNs - start) / 1e6);
    }
    // The same with a 1 MB body: reading, decoding and announcing it may cost little more.
    std::vector<double> big;
    const QByteArray bigBody(1 << 20, 'm');
    for (int i = 0; i < 30; ++i) {
        const QByteArray line = "{\"type\":\"notify\",\"sender\":\"bench\",\"title\":\"Bench\",\"body\":\"" + bigBody
            + "\",\"msgId\":\"big" + QByteArray::number(i) + "\"}\n";
        const int before = arrived;
        const qint64 start = clock.nsecsElapsed();
        for (qsizetype done = 0; done < line.size();) {
            const ssize_t n = ::write(fd, line.constData() + done, size_t(line.size() - done));
            if (n <= 0)
                return 1;
            done += n;
        }
        if (!spinUntil([&] { return arrived > before; }, 10000))
            return 1;
        big.push_back(double(arrivedNs - start) / 1e6);
    }
    for (int i = 0; i < shellRuns; ++i) {
        const int before = arrived;
        const qint64 start = clock.nsecsElapsed();
        QProcess p;
        p.start("notify-send",
            { "-a", "Quillmote Notifier", "-c", "im.received", "Bench", QStringLiteral("message %1").arg(i) });
        if (!spinUntil([&] { return arrived > before; }, 5000))
            return 1;
        theirs.push_back(double(arrivedNs - start) / 1e6);
        p.waitForFinished(2000);
    }
    ::close(fd);

    const double p50 = percentile(ours, 0.5), shell50 = percentile(theirs, 0.5);
    reportBench("notify latency p50 (socket write → Notify at server)", p50, "ms", "notify-send p50", shell50);
    reportBench("notify latency p95", percentile(ours, 0.95), "ms", "notify-send p95", percentile(theirs, 0.95));
    reportBench("notify-send / app speed-up (p50)", shell50 / p50, "x");
    reportBench("notify latency p50, 1 MB body", percentile(big, 0.5), "ms", "small body p50", p50);
    controller.applicationWillTerminate();
    server.stop();
    serverThread.quit();
    serverThread.wait();
    return 0;
}
