#pragma once

#include <QDir>
#include <QProcess>
#include <QTest>

// What the desktop tests share: the desktop's command-line tools run to their end, the
// processes a test starts stopped with it, and pictures kept for people to look at.

// Runs a program to its end (at most `timeoutMs`) and returns what it printed, both streams.
// The event loop runs meanwhile: what it asks may be answered by this process.
inline QString runTool(const QString &program, const QStringList &args, int timeoutMs = 5000)
{
    QProcess p;
    p.start(program, args);
    if (!QTest::qWaitFor([&] { return p.state() == QProcess::NotRunning; }, timeoutMs))
        p.kill();
    p.waitForFinished(1000);
    return QString::fromUtf8(p.readAllStandardOutput() + p.readAllStandardError()).trimmed();
}

// Asks a process to end and kills it when it has not within `graceMs`.
inline void stopProcess(QProcess &p, int graceMs = 3000)
{
    p.terminate();
    if (!p.waitForFinished(graceMs))
        p.kill();
    p.waitForFinished(graceMs);
}

// Pictures, not checks: with QM_SCREENSHOT_DIR set (docs/screenshots holds the last ones),
// `grab()` is saved there as `name`, `settleMs` after the call so the last animation frame
// and asynchronous images are in it.
template<typename Grab> void keepPicture(const QString &name, Grab grab, int settleMs = 0)
{
    const QString dir = qEnvironmentVariable("QM_SCREENSHOT_DIR");
    if (dir.isEmpty())
        return;
    QTest::qWait(settleMs); // for the picture only
    QDir().mkpath(dir);
    QVERIFY(grab().save(dir + QLatin1Char('/') + name));
}
