#include "state/DaemonManager.h"

#include "cli/CLIRunner.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char **environ;

namespace {

// True while `pid` has not exited (it may be a zombie the waiter has not reaped yet).
bool stillRunning(pid_t pid)
{
    siginfo_t info {};
    if (::waitid(P_PID, id_t(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
        return false;
    return info.si_pid != pid;
}

} // namespace

DaemonManager &DaemonManager::shared()
{
    // Never destroyed: the waiter threads of children may outlive static destruction.
    static DaemonManager *instance = new DaemonManager;
    return *instance;
}

std::optional<pid_t> DaemonManager::childPid() const
{
    QMutexLocker lock(&m_lock);
    return m_child;
}

void DaemonManager::childExited(pid_t pid)
{
    QMutexLocker lock(&m_lock);
    // A later child is left alone.
    if (m_child == pid)
        m_child.reset();
}

bool DaemonManager::spawnWebServer(qint64 port, Log::Category log)
{
    QMutexLocker lock(&m_lock);
    if (m_child && stillRunning(*m_child)) {
        Log::emit(log,
            QStringLiteral("daemon: our web-server child is already running (pid %1); not re-spawning").arg(*m_child));
        return true;
    }

    const CLIOutcome<QStringList> invocation = CLIRunner::resolveInvocation();
    if (!invocation) {
        Log::emit(log,
            QStringLiteral("daemon: could not resolve quillmote binary: %1").arg(invocation.error().description()));
        return false;
    }
    const QString executable = invocation.value().first();
    QList<QByteArray> args8;
    for (const QString &a : invocation.value())
        args8.append(QFile::encodeName(a));
    args8 << "web"
          << "--port" << QByteArray::number(port);
    std::vector<char *> argv;
    for (QByteArray &a : args8)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int fd : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO })
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", fd == STDIN_FILENO ? O_RDONLY : O_WRONLY, 0);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    // Its own session, so a Ctrl+C meant for the app does not reach it; default signal
    // dispositions, since the app ignores SIGPIPE and that would otherwise be inherited.
    sigset_t defaults;
    sigemptyset(&defaults);
    for (int sig : { SIGPIPE, SIGINT, SIGTERM, SIGHUP })
        sigaddset(&defaults, sig);
    sigset_t noMask;
    sigemptyset(&noMask);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    posix_spawnattr_setsigmask(&attr, &noMask);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

    pid_t pid = -1;
    const int rc = ::posix_spawn(&pid, argv[0], &actions, &attr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    if (rc != 0) {
        Log::emit(log,
            QStringLiteral("daemon: failed to spawn `%1 web --port %2`: %3")
                .arg(executable)
                .arg(port)
                .arg(QString::fromLocal8Bit(std::strerror(rc))));
        return false;
    }
    m_child = pid;
    // The termination handler: reaps the child and forgets it, if it is still the one known.
    std::thread([this, pid] {
        int status = 0;
        while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) { }
        childExited(pid);
    }).detach();
    Log::emit(log, QStringLiteral("daemon: spawned `%1 web --port %2` (pid %3)").arg(executable).arg(port).arg(pid));
    return true;
}
