#pragma once

// What the benchmarks that start the real app share: where it is, its environment, its log
// and its memory, and a private session bus to run in.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

inline QString appPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/../src/app/quillmote-notifier");
}

// Reads the app's log (standard error) into `seen` until it contains `text`; false after
// `timeoutMs` or when the app ends first.
inline bool waitForLine(QProcess &app, QByteArray &seen, const QString &text, int timeoutMs)
{
    const QByteArray wanted = text.toUtf8();
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < timeoutMs) {
        if (seen.contains(wanted))
            return true;
        if (!app.waitForReadyRead(50) && app.state() == QProcess::NotRunning)
            return false;
        seen += app.readAllStandardError();
    }
    return seen.contains(wanted);
}

// A "VmRSS:"-like field of /proc/<pid>/status in KiB, or -1.
inline qint64 statusKiB(qint64 pid, const char *field)
{
    QFile f(QStringLiteral("/proc/%1/status").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : f.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.mid(int(qstrlen(field))).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

// Starts this benchmark again inside a private session bus (dbus-run-session) unless it runs
// in one already. True in the bus; false when dbus-run-session could not be started.
inline bool inPrivateBus(char *argv[])
{
    if (qEnvironmentVariable("QM_BENCH_IN_BUS") == QLatin1String("1"))
        return true;
    qputenv("QM_BENCH_IN_BUS", "1");
    execlp("dbus-run-session", "dbus-run-session", "--", argv[0], static_cast<char *>(nullptr));
    return false;
}

// A benchmark that cannot run says why on standard error; tools/bench shows a FAILED row.
inline int fail(const char *why)
{
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, why);
    return 1;
}

// The app's environment for a run of its own: its folders under `root`, no command-line tool,
// and its own choice of platform and renderer, as on a desktop.
inline QProcessEnvironment appEnvironment(const QString &root)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char *name : { "QT_QPA_PLATFORM", "QT_QUICK_BACKEND", "QSG_RHI_BACKEND", "JOURNAL_STREAM" })
        env.remove(QString::fromLatin1(name));
    env.insert(QStringLiteral("QUILLMOTE_HOME"), root + QStringLiteral("/qh"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), root + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), root + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), root + QStringLiteral("/cache"));
    env.insert(QStringLiteral("QUILLMOTE_BIN"), QStringLiteral("/nonexistent"));
    return env;
}
