#pragma once

#include "alerts/Scheduler.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>

class QTimer;

// Scheduler on the main thread's event loop: one precise single-shot QTimer per task.
class QtScheduler : public QObject, public Scheduler
{
    Q_OBJECT
public:
    explicit QtScheduler(QObject *parent = nullptr);
    ~QtScheduler() override;

    double now() const override;
    TaskId schedule(double seconds, std::function<void()> task) override;
    void cancel(TaskId id) override;

private:
    QElapsedTimer m_clock;
    TaskId m_next = 0;
    QHash<TaskId, QTimer *> m_timers;
};
