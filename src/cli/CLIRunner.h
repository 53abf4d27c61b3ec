#pragma once

#include "cli/CLIResult.h"

#include <QFuture>
#include <QJsonDocument>
#include <QStringList>

#include <functional>
#include <optional>

// The one place that finds and runs the `quillmote` command-line tool.
//
// run() and runJSON() never block the calling thread: the tool runs on a thread of a pool
// of its own, and the answer comes back as a finished QFuture. To be handed the answer on
// your own thread, attach a continuation with a context object:
//
//     CLIRunner::runJSON<FriendsResponse>({"friends", "--json"})
//         .then(this, [this](const CLIOutcome<FriendsResponse> &r) { ... });
//
// The future always carries a value (never an exception): a CLIOutcome holding either the
// answer or the CLIError. There is no timeout and no cancellation; a hung tool never
// answers.
namespace CLIRunner {

// The argument-vector prefix that starts the tool: {quillmote} or {node, cli.js}. Resolved
// once per process (under one lock) and cached; a failed search caches nothing.
CLIOutcome<QStringList> resolveInvocation();

// Runs the tool with `args` after the invocation prefix and collects its streams.
// Fails with binaryNotFound or spawnFailed.
QFuture<CLIOutcome<CLIResult>> run(const QStringList &args);

// The same, blocking the calling thread; for code already on a worker thread.
CLIOutcome<CLIResult> runBlocking(const QStringList &args);

// Turns a finished run into a decoded answer: a non-zero status fails with nonZeroExit
// (logged with `command`); then the whole trimmed output, then each line from the last to
// the first, is parsed and offered to `accepts`; when none is accepted the run fails with
// malformedOutput.
std::optional<CLIError> decodeOutput(const QString &command, const CLIOutcome<CLIResult> &run,
    const std::function<bool(const QJsonDocument &)> &accepts);

// decodeOutput into T, which provides `static std::optional<T> decode(const QJsonDocument &)`
// (see CLIResponses.h).
template<typename T> CLIOutcome<T> decodeAs(const QString &command, const CLIOutcome<CLIResult> &run)
{
    std::optional<T> decoded;
    const std::optional<CLIError> error = decodeOutput(command, run, [&decoded](const QJsonDocument &doc) {
        decoded = T::decode(doc);
        return decoded.has_value();
    });
    if (error)
        return *error;
    return std::move(*decoded);
}

// Runs a `--json` command and decodes its output as T.
template<typename T> QFuture<CLIOutcome<T>> runJSON(const QStringList &args)
{
    const QString command = args.isEmpty() ? QStringLiteral("?") : args.first();
    return run(args).then(QtFuture::Launch::Sync,
        [command](const CLIOutcome<CLIResult> &result) { return decodeAs<T>(command, result); });
}

// Where a `cli.js` of the tool may sit, in the order they are tried (ten entries).
QStringList candidateCliJsPaths();
// The first `name` in the search path that is an executable file.
std::optional<QString> firstExecutable(const QString &name);

// Tests only: forget the cached invocation.
void resetCacheForTesting();

} // namespace CLIRunner
