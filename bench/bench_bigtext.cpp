// A 16 MB message body on every surface of the real app: the terminal writes one notify
// frame with a 16 MB body; the app lists it in the tray menu, posts the banner (to dunst
// when it is installed) and shows the overlay expanded (QUILLMOTE_NOTCH_DEBUG=1 keeps the
// card open). Reported: how much the resident set grew from the idle app to the settled app
// with the message listed, and the peak on the way. Runs under the display it is given
// (tools/bench: a private Xvfb and session bus).
#include "BenchApp.h"
#include "BenchReport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

bool writeFrame(const QString &socketPath, const QByteArray &line)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr {};
    addr.sun_family = AF_UNIX;
    const QByteArray path = socketPath.toLocal8Bit();
    qstrncpy(addr.sun_path, path.constData(), sizeof addr.sun_path);
    if (fd < 0 || ::connect(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0)
        return false;
    qsizetype done = 0;
    while (done < line.size()) {
        const ssize_t n = ::write(fd, line.constData() + done, size_t(line.size() - done));
        if (n <= 0)
            break;
        done += n;
    }
    ::close(fd);
    return done == line.size();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication core(argc, argv);
    if (!QFile::exists(appPath())) {
        std::fprintf(stderr, "bench_bigtext: no app at %s\n", qPrintable(appPath()));
        return 1;
    }
    QTemporaryDir dir;
    QProcess dunst;
    if (qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"))
        dunst.start(QStringLiteral("dunst"), { QStringLiteral("-config"), QStringLiteral("/dev/null") });

    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (!env.contains(QStringLiteral("DISPLAY"))) {
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    }
    env.insert(QStringLiteral("QUILLMOTE_HOME"), dir.path() + QStringLiteral("/qh"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.path() + QStringLiteral("/config"));
    env.insert(QStringLiteral("QUILLMOTE_BIN"), QStringLiteral("/nonexistent"));
    env.insert(QStringLiteral("QUILLMOTE_WEB_PORT"), QStringLiteral("1"));
    env.insert(QStringLiteral("QUILLMOTE_NOTCH_DEBUG"), QStringLiteral("1"));
    env.remove(QStringLiteral("JOURNAL_STREAM"));
    QProcess app;
    app.setProcessEnvironment(env);
    app.start(appPath(), {});
    QByteArray seen;
    if (!waitForLine(app, seen, QStringLiteral("socket: listening at"), 15000)) {
        std::fprintf(stderr, "bench_bigtext: the app never listened\n%s", seen.constData());
        return 1;
    }
    QThread::sleep(2); // start-up allocations settle
    seen += app.readAllStandardError();
    const qint64 idle = statusKiB(app.processId(), "VmRSS:");

    const QByteArray body(16 * 1024 * 1024, 'x');
    const QByteArray frame
        = R"({"type":"notify","sender":"big","title":"16 MB","msgId":"big1","body":")" + body + "\"}\n";
    if (!writeFrame(dir.path() + QStringLiteral("/qh/notifier.sock"), frame)
        || !waitForLine(app, seen, QStringLiteral("menubar: add @big"), 60000)) {
        std::fprintf(stderr, "bench_bigtext: the frame was not taken\n%s", seen.right(2000).constData());
        return 1;
    }
    QThread::sleep(4); // the overlay draws, the tray menu is rebuilt, the banner goes out
    seen += app.readAllStandardError();
    const qint64 listed = statusKiB(app.processId(), "VmRSS:");
    const qint64 peak = statusKiB(app.processId(), "VmHWM:");
    app.terminate();
    app.waitForFinished(5000);
    dunst.terminate();
    dunst.waitForFinished(3000);

    reportBench(QStringLiteral("resident memory growth with a 16 MB body listed (tray, banner, expanded overlay)"),
        double(listed - idle) / 1024.0, QStringLiteral("MB"), QStringLiteral("target"), 150.0);
    reportBench(QStringLiteral("peak resident memory over the idle app, same run"), double(peak - idle) / 1024.0,
        QStringLiteral("MB"));
    return 0;
}
