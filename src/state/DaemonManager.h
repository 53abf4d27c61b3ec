#pragma once

#include "core/Log.h"

#include <QMutex>

#include <optional>
#include <sys/types.h>

// Starts `quillmote web --port N` when the state server is silent, and knows whether the
// child it started still runs. The child outlives the app: it gets its own session, its
// streams go to /dev/null, and nothing here ever stops it; the next launch finds it by
// probing the port. One shared instance for the whole process.
class DaemonManager
{
public:
    static DaemonManager &shared();

    // True when a child is running afterwards (already running, or just started). Every
    // line goes to `log`. Safe from any thread.
    bool spawnWebServer(qint64 port, Log::Category log);

    // The running child's process id, if any (tests stop it with this).
    std::optional<pid_t> childPid() const;

private:
    DaemonManager() = default;
    void childExited(pid_t pid);

    mutable QMutex m_lock;
    std::optional<pid_t> m_child;
};
