// The whole app as a user starts it, in a private session bus:
//   - launch: from exec to the "launched" log line, the median of several cold starts, with
//     the offscreen platform and the software renderer;
//   - memory: resident set with the main window open on a conversation of a 10k-message
//     history served by the stand-in tool, once the state has arrived and the window settled,
//     under the display it is given (tools/bench: a private Xvfb) with the platform and
//     renderer the app picks for itself.
#include "BenchApp.h"
#include "BenchReport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <unistd.h>

namespace {

QProcessEnvironment appEnvironment(const QTemporaryDir &dir, bool desktop = false)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.remove(QStringLiteral("QT_QUICK_BACKEND"));
    if (!desktop || !env.contains(QStringLiteral("DISPLAY"))) {
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    }
    env.insert(QStringLiteral("QUILLMOTE_HOME"), dir.path() + QStringLiteral("/qh"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.path() + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), dir.path() + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), dir.path() + QStringLiteral("/cache"));
    env.remove(QStringLiteral("JOURNAL_STREAM")); // the log must come to our pipe
    return env;
}

void stop(QProcess &app)
{
    app.terminate();
    if (!app.waitForFinished(3000)) {
        app.kill();
        app.waitForFinished(1000);
    }
}

int freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariable("QM_BENCH_IN_BUS") != QLatin1String("1")) {
        // A bus without service activation: nothing but the app itself is measured.
        qputenv("QM_BENCH_IN_BUS", "1");
        char config[] = "/tmp/qm-bench-bus-XXXXXX";
        const int fd = mkstemp(config);
        const char text[] = "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                            "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>";
        if (fd < 0 || write(fd, text, sizeof text - 1) != ssize_t(sizeof text - 1))
            return 1;
        ::close(fd);
        qputenv("QM_BENCH_BUS_CONFIG", config);
        const QByteArray option = QByteArray("--config-file=") + config;
        execlp("dbus-run-session", "dbus-run-session", option.constData(), "--", argv[0], static_cast<char *>(nullptr));
        std::fprintf(stderr, "bench_app: needs dbus-run-session\n");
        return 1;
    }
    QCoreApplication core(argc, argv);
    QFile::remove(qEnvironmentVariable("QM_BENCH_BUS_CONFIG")); // read by the bus at its start
    if (!QFile::exists(appPath())) {
        std::fprintf(stderr, "bench_app: no app at %s\n", qPrintable(appPath()));
        return 1;
    }

    // Launch: no state server and no tool to start one, so nothing else competes.
    std::vector<double> launches;
    for (int run = 0; run < 9; ++run) {
        QTemporaryDir dir;
        QProcessEnvironment env = appEnvironment(dir);
        env.insert(QStringLiteral("QUILLMOTE_BIN"), QStringLiteral("/nonexistent"));
        env.insert(QStringLiteral("QUILLMOTE_WEB_PORT"), QString::number(freePort()));
        QProcess app;
        app.setProcessEnvironment(env);
        QElapsedTimer t;
        t.start();
        app.start(appPath(), {});
        QByteArray seen;
        if (!waitForLine(app, seen, QStringLiteral("launched"), 10000)) {
            std::fprintf(stderr, "bench_app: the app never logged \"launched\"\n");
            return 1;
        }
        launches.push_back(double(t.nsecsElapsed()) / 1e6);
        stop(app);
    }
    std::sort(launches.begin(), launches.end());
    reportBench(QStringLiteral("app launch to \"launched\" (median of 9)"), launches[launches.size() / 2],
        QStringLiteral("ms"), QStringLiteral("target"), 150.0);

    // Memory: the stand-in's state server with a 10k-message history, the main window open on
    // the conversation a deep link names.
    QTemporaryDir dir;
    const int port = freePort();
    QProcess web;
    web.start(QStringLiteral(QM_SOURCE_DIR "/tools/quillmote-sim"),
        { QStringLiteral("web"), QStringLiteral("--port"), QString::number(port), QStringLiteral("--messages"),
            QStringLiteral("10000") });
    QProcessEnvironment env = appEnvironment(dir, true);
    env.insert(QStringLiteral("QUILLMOTE_BIN"), QStringLiteral("/nonexistent"));
    env.insert(QStringLiteral("QUILLMOTE_WEB_PORT"), QString::number(port));
    env.insert(QStringLiteral("QUILLMOTE_OPEN_WINDOW"), QStringLiteral("1"));
    QProcess app;
    app.setProcessEnvironment(env);
    bool connected = false;
    for (int attempt = 0; attempt < 5 && !connected; ++attempt) {
        app.start(appPath(), { QStringLiteral("quillmote://conversation/alice") });
        QByteArray seen;
        connected = waitForLine(app, seen, QStringLiteral("connected: 10000 msgs"), 8000);
        if (!connected)
            stop(app); // the state server was not up yet
    }
    if (!connected) {
        std::fprintf(stderr, "bench_app: the state never arrived\n");
        web.kill();
        return 1;
    }
    QThread::sleep(3); // the window renders, polls repeat, allocations settle
    const qint64 rss = statusKiB(app.processId(), "VmRSS:"), peak = statusKiB(app.processId(), "VmHWM:"),
                 file = statusKiB(app.processId(), "RssFile:");
    stop(app);
    web.kill();
    web.waitForFinished(1000);
    reportBench(QStringLiteral("app resident memory, main window on a 10k-message history (%1)")
                    .arg(env.value(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("X11"))),
        double(rss) / 1024.0, QStringLiteral("MB"), QStringLiteral("target"), 100.0);
    reportBench(QStringLiteral("app peak resident memory, same run"), double(peak) / 1024.0, QStringLiteral("MB"));
    reportBench(QStringLiteral("of which shared libraries and fonts (file-backed)"), double(file) / 1024.0,
        QStringLiteral("MB"));
    return 0;
}
