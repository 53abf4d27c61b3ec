#pragma once

#include "alerts/Scheduler.h"

#include <algorithm>
#include <map>

// A clock that only moves when the test says so; due tasks run in time order, each at its
// own moment, so a task that schedules another within the advanced span sees it run too.
class FakeScheduler : public Scheduler
{
public:
    double now() const override { return m_now; }

    TaskId schedule(double seconds, std::function<void()> task) override
    {
        const TaskId id = ++m_next;
        m_tasks[id] = { m_now + seconds, std::move(task) };
        return id;
    }

    void cancel(TaskId id) override { m_tasks.erase(id); }

    void advance(double seconds)
    {
        const double end = m_now + seconds;
        for (;;) {
            auto due = std::min_element(m_tasks.begin(), m_tasks.end(), [](const auto &a, const auto &b) {
                return a.second.at < b.second.at || (a.second.at == b.second.at && a.first < b.first);
            });
            if (due == m_tasks.end() || due->second.at > end + 1e-9)
                break;
            m_now = std::max(m_now, due->second.at);
            auto task = std::move(due->second.task);
            m_tasks.erase(due);
            task();
        }
        m_now = end;
    }

private:
    struct Task {
        double at;
        std::function<void()> task;
    };
    double m_now = 1000;
    TaskId m_next = 0;
    std::map<TaskId, Task> m_tasks;
};
