#include "cli/CLIRunner.h"

#include "core/Log.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QPromise>
#include <QThreadPool>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace CLIRunner {
namespace {

QMutex g_resolvedLock;
std::optional<QStringList> g_resolved;

// Runs wait on a hung tool as long as it hangs, so they get a pool of their own: a few
// stuck actions must not starve the rest of the app's background work.
QThreadPool &runPool()
{
    static QThreadPool *pool = [] {
        auto *p = new QThreadPool;
        p->setMaxThreadCount(64);
        return p;
    }();
    return *pool;
}

bool isExecutableFile(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

// The environment's PATH when the key is there (whatever its value), else the default.
QStringList searchPath()
{
    const QByteArray path = qEnvironmentVariableIsSet("PATH")
        ? qgetenv("PATH")
        : QByteArray("/usr/local/bin:/opt/homebrew/bin:/usr/bin:/bin");
    return QString::fromLocal8Bit(path).split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

void logIntents(const QString &line, bool isError = false)
{
    if (isError)
        Log::error(Log::Category::intents, line);
    else
        Log::info(Log::Category::intents, line);
}

QByteArray readToEnd(int fd)
{
    QByteArray out;
    char buf[16384];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n > 0) {
            out.append(buf, n);
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    return out;
}

CLIOutcome<CLIResult> spawnAndCollect(const QStringList &invocation, const QStringList &args)
{
    QList<QByteArray> argv8;
    argv8.reserve(invocation.size() + args.size());
    for (const QString &a : invocation)
        argv8.append(QFile::encodeName(a));
    for (const QString &a : args)
        argv8.append(a.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &a : argv8)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    int outPipe[2];
    int errPipe[2];
    if (::pipe2(outPipe, O_CLOEXEC) != 0)
        return CLIError::spawnFailed(QString::fromLocal8Bit(std::strerror(errno)));
    if (::pipe2(errPipe, O_CLOEXEC) != 0) {
        const int err = errno;
        ::close(outPipe[0]);
        ::close(outPipe[1]);
        return CLIError::spawnFailed(QString::fromLocal8Bit(std::strerror(err)));
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
    pid_t pid = -1;
    const int rc = ::posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(outPipe[1]);
    ::close(errPipe[1]);
    if (rc != 0) {
        ::close(outPipe[0]);
        ::close(errPipe[0]);
        return CLIError::spawnFailed(
            QStringLiteral("%1: %2").arg(invocation.first(), QString::fromLocal8Bit(std::strerror(rc))));
    }

    // Standard output to its end, then standard error, then the status, in this order.
    const QByteArray out = readToEnd(outPipe[0]);
    ::close(outPipe[0]);
    const QByteArray err = readToEnd(errPipe[0]);
    ::close(errPipe[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) { }
    CLIResult result;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : WIFSIGNALED(status) ? WTERMSIG(status) : status;
    result.standardOutput = QString::fromUtf8(out);
    result.standardError = QString::fromUtf8(err);
    return result;
}

std::optional<QJsonDocument> parseDocument(const QByteArray &bytes)
{
    QJsonParseError error {};
    QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || doc.isNull())
        return std::nullopt;
    return doc;
}

} // namespace

QStringList candidateCliJsPaths()
{
    QStringList dirs;
    // The executable's folder stands in for the application bundle's location.
    QString dir = QCoreApplication::applicationDirPath();
    if (dir.isEmpty())
        dir = QDir::currentPath();
    // Up to eight folders upwards, the root once.
    while (dirs.size() < 8) {
        dirs.append(dir == QLatin1String("/") ? QString() : dir);
        if (dir == QLatin1String("/"))
            break;
        const int slash = dir.lastIndexOf(QLatin1Char('/'));
        dir = slash > 0 ? dir.left(slash) : QStringLiteral("/");
    }
    const QString home = QDir::homePath();
    dirs.append(home + QStringLiteral("/Documents/AI/Quillmote-intents"));
    dirs.append(home + QStringLiteral("/Documents/AI/Quillmote"));
    QStringList paths;
    for (const QString &d : std::as_const(dirs))
        paths.append(d + QStringLiteral("/packages/cli/dist/cli.js"));
    return paths;
}

std::optional<QString> firstExecutable(const QString &name)
{
    for (const QString &dir : searchPath()) {
        const QString candidate = dir + QLatin1Char('/') + name;
        if (isExecutableFile(candidate))
            return candidate;
    }
    return std::nullopt;
}

CLIOutcome<QStringList> resolveInvocation()
{
    QMutexLocker lock(&g_resolvedLock);
    if (g_resolved)
        return *g_resolved;

    QStringList tried;
    const QString bin = qEnvironmentVariable("QUILLMOTE_BIN");
    if (!bin.isEmpty()) {
        tried.append(QStringLiteral("QUILLMOTE_BIN=") + bin);
        if (isExecutableFile(bin)) {
            g_resolved = QStringList { bin };
            logIntents(QStringLiteral("cli: resolved via QUILLMOTE_BIN %1").arg(bin));
            return *g_resolved;
        }
    }

    if (const std::optional<QString> onPath = firstExecutable(QStringLiteral("quillmote"))) {
        g_resolved = QStringList { *onPath };
        logIntents(QStringLiteral("cli: resolved on PATH %1").arg(*onPath));
        return *g_resolved;
    }
    tried.append(QStringLiteral("PATH(quillmote)"));

    if (const std::optional<QString> node = firstExecutable(QStringLiteral("node"))) {
        for (const QString &script : candidateCliJsPaths()) {
            if (QFileInfo::exists(script)) {
                g_resolved = QStringList { *node, script };
                logIntents(QStringLiteral("cli: resolved via node fallback %1").arg(script));
                return *g_resolved;
            }
            tried.append(script);
        }
    } else {
        tried.append(QStringLiteral("node(not found)"));
    }

    logIntents(QStringLiteral("cli: binary not found — tried %1").arg(tried.join(QStringLiteral(", "))), true);
    return CLIError::binaryNotFound(tried);
}

CLIOutcome<CLIResult> runBlocking(const QStringList &args)
{
    const CLIOutcome<QStringList> invocation = resolveInvocation();
    if (!invocation)
        return invocation.error();
    return spawnAndCollect(invocation.value(), args);
}

QFuture<CLIOutcome<CLIResult>> run(const QStringList &args)
{
    auto promise = std::make_shared<QPromise<CLIOutcome<CLIResult>>>();
    QFuture<CLIOutcome<CLIResult>> future = promise->future();
    promise->start();
    const CLIOutcome<QStringList> invocation = resolveInvocation();
    if (!invocation) {
        promise->addResult(CLIOutcome<CLIResult>(invocation.error()));
        promise->finish();
        return future;
    }
    runPool().start([promise, prefix = invocation.value(), args] {
        promise->addResult(spawnAndCollect(prefix, args));
        promise->finish();
    });
    return future;
}

std::optional<CLIError> decodeOutput(
    const QString &command, const CLIOutcome<CLIResult> &run, const std::function<bool(const QJsonDocument &)> &accepts)
{
    if (!run)
        return run.error();
    const CLIResult &result = run.value();
    if (result.exitCode != 0) {
        logIntents(QStringLiteral("cli: %1 exit %2").arg(command).arg(result.exitCode), true);
        return CLIError::nonZeroExit(result.exitCode, result.standardError);
    }

    if (const auto doc = parseDocument(result.standardOutput.trimmed().toUtf8()); doc && accepts(*doc))
        return std::nullopt;

    // Progress or warning lines may come before the answer: the last line that is a whole
    // document of the right shape wins.
    const QStringList lines = result.standardOutput.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (auto it = lines.crbegin(); it != lines.crend(); ++it) {
        QStringView line(*it);
        while (!line.isEmpty() && (line.front() == u' ' || line.front() == u'\t'))
            line = line.mid(1);
        while (!line.isEmpty() && (line.back() == u' ' || line.back() == u'\t'))
            line.chop(1);
        if (const auto doc = parseDocument(line.toUtf8()); doc && accepts(*doc))
            return std::nullopt;
    }
    return CLIError::malformedOutput(result.standardOutput);
}

void resetCacheForTesting()
{
    QMutexLocker lock(&g_resolvedLock);
    g_resolved.reset();
}

} // namespace CLIRunner
