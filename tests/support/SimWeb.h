#pragma once

#include "support/Programs.h"
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
    ~SimWeb() { stopProcess(m_process); }
    SimWeb(const SimWeb &) = delete;
    SimWeb &operator=(const SimWeb &) = delete;

    // Starts on a free port and points the environment's QUILLMOTE_WEB_PORT at it.
    bool start(TestEnv &env, const QStringList &extra = {})
    {
        m_port = freePort();
        env.set("QUILLMOTE_WEB_PORT", QByteArray::number(m_port));
        m_process.start(simPath(), QStringList { "web", "--port", QString::number(m_port) } + extra);
        return m_process.waitForStarted(5000)
            && QTest::qWaitFor([this] { return m_process.readAllStandardError().contains("web listening"); }, 10000);
    }
    // Runs a helper command of the stand-in (push, control) against this server.
    bool command(const QStringList &args)
    {
        QProcess p;
        p.start(simPath(), args + QStringList { "--port", QString::number(m_port) });
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
