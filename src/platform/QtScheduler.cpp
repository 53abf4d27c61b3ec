#include "platform/QtScheduler.h"

#include <QTimer>

#include <cmath>

QtScheduler::QtScheduler(QObject *parent)
    : QObject(parent)
{
    m_clock.start();
}

QtScheduler::~QtScheduler()
{
    qDeleteAll(m_timers);
}

double QtScheduler::now() const
{
    return double(m_clock.nsecsElapsed()) / 1e9;
}

Scheduler::TaskId QtScheduler::schedule(double seconds, std::function<void()> task)
{
    const TaskId id = ++m_next;
    auto *timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    timer->setInterval(std::chrono::milliseconds(std::llround(std::max(0.0, seconds) * 1000)));
    connect(timer, &QTimer::timeout, this, [this, id, task = std::move(task)] {
        if (QTimer *t = m_timers.take(id))
            t->deleteLater();
        task();
    });
    m_timers.insert(id, timer);
    timer->start();
    return id;
}

void QtScheduler::cancel(TaskId id)
{
    if (QTimer *t = m_timers.take(id)) {
        t->stop();
        t->deleteLater();
    }
}
