// The state client's cost when nothing changes: a poll of an unchanged 10k-message document
// against the first poll of it, and the client's idle CPU over a minute against an unchanged
// ~1 MB document (QM_BENCH_QUICK=1: 10 s). The state server is the stand-in tool, in its own
// process, so only the client's CPU is counted.
#include "BenchReport.h"

#include "state/StateClient.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTcpServer>
#include <QTest>
#include <QTimer>

#include <ctime>

namespace {

double processCpuSeconds()
{
    timespec ts {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
}

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

struct Sim {
    QProcess process;
    bool start(quint16 port, int messages)
    {
        process.start(QStringLiteral(QM_SOURCE_DIR "/tools/quillmote-sim"),
            { QStringLiteral("web"), QStringLiteral("--port"), QString::number(port), QStringLiteral("--messages"),
                QString::number(messages) });
        return process.waitForStarted(5000)
            && QTest::qWaitFor([&] { return process.readAllStandardError().contains("web listening"); }, 10000);
    }
    ~Sim()
    {
        process.terminate();
        if (!process.waitForFinished(3000))
            process.kill();
        process.waitForFinished(3000);
    }
};

// A plain event loop: unlike QTest::qWait it does not wake up every few milliseconds, so
// only the client's own timers and sockets cost CPU.
void idle(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Runs `fetches` polls and returns the process CPU seconds they took.
double pollCpu(StateClient &client, int fetches)
{
    const int target = client.fetchCount() + fetches;
    const double before = processCpuSeconds();
    for (int i = 0; i < fetches; ++i) {
        const int n = client.fetchCount();
        client.refresh();
        if (!QTest::qWaitFor([&] { return client.fetchCount() > n; }, 10000))
            qFatal("poll did not finish");
    }
    if (!QTest::qWaitFor([&] { return client.fetchCount() >= target; }, 10000))
        qFatal("polls did not finish");
    return processCpuSeconds() - before;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const bool quick = qgetenv("QM_BENCH_QUICK") == "1";

    {
        const quint16 port = freePort();
        qputenv("QUILLMOTE_WEB_PORT", QByteArray::number(port));
        Sim sim;
        if (!sim.start(port, 10000))
            qFatal("stand-in state server did not start");
        StateClient client;
        const double before = processCpuSeconds();
        client.refresh();
        (void)QTest::qWaitFor([&] { return client.state().messages.size() == 10000; }, 30000);
        const double first = processCpuSeconds() - before;
        if (client.state().messages.size() != 10000)
            qFatal("first poll did not decode");
        const int decodes = client.decodeCount();
        constexpr int repeats = 20;
        const double repeated = pollCpu(client, repeats) / repeats;
        reportBench(QStringLiteral("poll first (10k msgs, fetch + decode), CPU"), first * 1000, QStringLiteral("ms"));
        reportBench(QStringLiteral("poll unchanged (10k msgs), CPU per poll"), repeated * 1000, QStringLiteral("ms"),
            QStringLiteral("poll first (10k msgs, fetch + decode), CPU"), first * 1000);
        reportBench(QStringLiteral("poll unchanged: decodes in 20 polls"), client.decodeCount() - decodes,
            QStringLiteral("count"));
    }

    {
        const quint16 port = freePort();
        qputenv("QUILLMOTE_WEB_PORT", QByteArray::number(port));
        qputenv("QUILLMOTE_BIN", "/nonexistent");
        Sim sim;
        if (!sim.start(port, 5200)) // about 1 MB
            qFatal("stand-in state server did not start");
        StateClient client;
        client.start();
        if (!QTest::qWaitFor([&] { return client.connection() == StateClient::Connection::connected; }, 30000))
            qFatal("state client did not connect");
        idle(2500); // past the first decode and its allocations
        const double seconds = quick ? 10 : 60;
        const int fetches = client.fetchCount();
        QElapsedTimer wall;
        wall.start();
        const double before = processCpuSeconds();
        idle(int(seconds * 1000));
        const double cpu = processCpuSeconds() - before;
        const double percent = cpu / (double(wall.elapsed()) / 1000.0) * 100.0;
        reportBench(QStringLiteral("state client idle CPU (unchanged ~1 MB, polls + stream)"), percent,
            QStringLiteral("% of a core"), QStringLiteral("target"), 0.15);
        reportBench(QStringLiteral("state client idle: polls in the window"), client.fetchCount() - fetches,
            QStringLiteral("count"));
        reportBench(QStringLiteral("state client idle: decodes"), client.decodeCount(), QStringLiteral("count"));
    }
    return 0;
}
