#pragma once

#include "support/TestEnv.h"

#include <QProcess>
#include <QTcpServer>
#include <QTest>

#include <csignal>
#include <sys/types.h>

// A port on 127.0.0.1 that nothing listens on right now.
inline quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// The stand-in's state server (`web --port N …`) as a child of the test, stopped with it.
class SimWeb
{
public:
    SimWeb() = default;
    ~SimWeb() { stop(); }
    SimWeb(const SimWeb &) = delete;
    SimWeb &operator=(const SimWeb &) = delete;

    bool start(quint16 port, const QStringList &extra = {})
    {
        m_port = port;
        m_process.setProgram(simPath());
        m_process.setArguments(
            QStringList { QStringLiteral("web"), QStringLiteral("--port"), QString::number(port) } + extra);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_process.start();
        if (!m_process.waitForStarted(5000))
            return false;
        return QTest::qWaitFor([this] { return m_process.readAllStandardError().contains("web listening"); }, 10000);
    }
    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
        m_process.terminate();
        if (!m_process.waitForFinished(3000)) {
            m_process.kill();
            m_process.waitForFinished(3000);
        }
    }
    // Starts on a free port and points the environment's QUILLMOTE_WEB_PORT at it.
    bool startIn(TestEnv &env, const QStringList &extra = {})
    {
        const quint16 port = freePort();
        env.set("QUILLMOTE_WEB_PORT", QByteArray::number(port));
        return start(port, extra);
    }
    // Runs a helper command of the stand-in (push, control) against this server.
    bool command(const QStringList &args)
    {
        QProcess p;
        p.start(simPath(), args + QStringList { QStringLiteral("--port"), QString::number(m_port) });
        return p.waitForFinished(10000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    }

private:
    QProcess m_process;
    quint16 m_port = 0;
};

// Ends a process the app started on its own (a daemon child) and waits until it is gone.
inline bool killAndWait(pid_t pid)
{
    ::kill(pid, SIGTERM);
    return QTest::qWaitFor([pid] { return ::kill(pid, 0) != 0; }, 5000);
}
