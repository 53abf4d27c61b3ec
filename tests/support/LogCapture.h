#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <QtGlobal>

// Records every log line of the process while it lives (and restores the previous handler
// after). Lines are matched by substring; waitFor spins the event loop, so lines posted to
// the main thread arrive while it waits.
class LogCapture
{
public:
    struct Line {
        QString level; // "info", "error", "debug"
        QString category; // short name, e.g. "socket"
        QString text;
        // "level category text", as dump() writes each line.
        QString toString() const { return level + u' ' + category + u' ' + text; }
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QList<Line> lines() const;
    int count(const QString &fragment) const;
    bool contains(const QString &fragment) const { return count(fragment) > 0; }
    // The first line containing the fragment, or an empty line.
    Line find(const QString &fragment) const;
    // Waits until at least `times` lines contain the fragment.
    bool waitFor(const QString &fragment, int timeoutMs = 5000, int times = 1) const;
    // All lines, one per row, for failure messages.
    QString dump() const;

private:
    static void handler(QtMsgType type, const QMessageLogContext &ctx, const QString &msg);
    QtMessageHandler m_previous = nullptr;
    mutable QMutex m_lock;
    QList<Line> m_lines;
};
