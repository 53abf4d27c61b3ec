#pragma once

#include <QtGlobal>

#include <functional>

// Time for the alerts: a monotonic clock and one-shot tasks on the main thread. Tests
// replace it with a clock they advance by hand.
class Scheduler
{
public:
    using TaskId = quint64;
    virtual ~Scheduler() = default;

    // Seconds on a monotonic clock.
    virtual double now() const = 0;
    // Runs `task` once after `seconds` on the main thread, unless cancelled first.
    virtual TaskId schedule(double seconds, std::function<void()> task) = 0;
    // Cancelling a task that already ran (or id 0) does nothing.
    virtual void cancel(TaskId id) = 0;
};
