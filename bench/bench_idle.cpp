// What waiting costs: the real app under the display it is given (tools/bench runs it in a
// private Xvfb) with the platform and renderer it picks for itself, in a private session bus.
//   - before any message: wakeups per second over 5 s;
//   - one message on show (the overlay waiting out its time, the tray icon pulsing): CPU
//     share of one core and wakeups per second over 15 s, and the resident set after it.
// Read from /proc: utime+stime of /proc/PID/stat, voluntary+nonvoluntary context switches
// summed over /proc/PID/task/*/status, VmRSS.
#include "BenchApp.h"
#include "BenchReport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

struct Sample {
    double cpuSeconds = 0;
    qint64 switches = 0;
    qint64 rssKiB = 0;
};

qint64 field(const QByteArray &status, const char *name)
{
    for (const QByteArray &line : status.split('\n')) {
        if (line.startsWith(name))
            return line.mid(int(qstrlen(name))).trimmed().split(' ').first().toLongLong();
    }
    return 0;
}

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

Sample sample(qint64 pid)
{
    Sample s;
    const QByteArray stat = readAll(QStringLiteral("/proc/%1/stat").arg(pid));
    // Fields after the command's closing parenthesis; utime and stime are the 14th and 15th.
    const QList<QByteArray> rest = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    if (rest.size() > 12)
        s.cpuSeconds = double(rest[11].toLongLong() + rest[12].toLongLong()) / double(sysconf(_SC_CLK_TCK));
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString &tid : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QByteArray status = readAll(tasks + '/' + tid + QStringLiteral("/status"));
        s.switches += field(status, "voluntary_ctxt_switches:") + field(status, "nonvoluntary_ctxt_switches:");
    }
    s.rssKiB = field(readAll(QStringLiteral("/proc/%1/status").arg(pid)), "VmRSS:");
    return s;
}

// Measures `seconds` of the app's life: returns CPU share, wakeups per second, and the last sample.
struct Window {
    double cpuPercent;
    double wakeupsPerSecond;
    Sample end;
};
Window observe(qint64 pid, int seconds)
{
    const Sample a = sample(pid);
    QElapsedTimer t;
    t.start();
    QThread::sleep(seconds); // a measurement interval: nothing is awaited
    const Sample b = sample(pid);
    const double wall = double(t.nsecsElapsed()) / 1e9;
    return { 100.0 * (b.cpuSeconds - a.cpuSeconds) / wall, double(b.switches - a.switches) / wall, b };
}

} // namespace

int main(int argc, char *argv[])
{
    if (!inPrivateBus(argv))
        return fail("needs dbus-run-session");
    QCoreApplication core(argc, argv);
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return fail("needs a display (tools/bench gives it a private Xvfb)");

    QTemporaryDir dir(QStringLiteral("/tmp/qmi-XXXXXX"));
    QProcess app;
    app.setProcessEnvironment(appEnvironment(dir.path()));
    app.start(appPath(), {});
    QByteArray log;
    if (!waitForLine(app, log, "launched", 15000))
        return fail("the app never logged \"launched\"");
    QThread::sleep(2); // start-up work (fonts, the bus, the tray) settles
    const Window before = observe(app.processId(), 5);

    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un addr {};
    addr.sun_family = AF_UNIX;
    const QByteArray path = (dir.path() + QStringLiteral("/qh/notifier.sock")).toUtf8();
    std::memcpy(addr.sun_path, path.constData(), size_t(path.size()));
    const char frame[] = "{\"type\":\"notify\",\"sender\":\"alice\",\"title\":\"Build\",\"body\":\"all green\"}\n";
    if (::connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0
        || ::write(fd, frame, sizeof frame - 1) != ssize_t(sizeof frame - 1))
        return fail("cannot write to the app's socket");
    if (!waitForLine(app, log, "notch: show", 5000))
        return fail("the overlay never showed the message");
    QThread::sleep(2); // the arrival animations end
    const Window waiting = observe(app.processId(), 15);
    ::close(fd);
    app.terminate();
    app.waitForFinished(5000);

    reportBench(QStringLiteral("idle before any message: wakeups (5 s)"), before.wakeupsPerSecond,
        QStringLiteral("1/s"), QStringLiteral("target"), 0.0, {});
    reportBench(QStringLiteral("waiting, overlay shown + tray pulsing: CPU (15 s)"), waiting.cpuPercent,
        QStringLiteral("% core"), QStringLiteral("target"), 1.0);
    reportBench(QStringLiteral("waiting, overlay shown + tray pulsing: wakeups (15 s)"), waiting.wakeupsPerSecond,
        QStringLiteral("1/s"), QStringLiteral("target"), 30.0);
    reportBench(QStringLiteral("waiting: resident memory after the first message"), double(waiting.end.rssKiB) / 1024.0,
        QStringLiteral("MB"), QStringLiteral("target"), 100.0);
    return 0;
}
