#pragma once

#include "support/Programs.h"
#include "support/TestEnv.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTest>

// The installed program started as a desktop user starts it, in the test's private world
// (no state server is spawned, nothing listens on the web port), its log read as it comes.
// `extra` adds variables (a null value removes one); `args` is its command line.
struct AppProcess {
    // Writes the settings file the app reads at start, as `key=value` lines.
    static bool writeSettings(const TestEnv &env, const QByteArray &lines)
    {
        QDir().mkpath(env.configHome() + "/quillmote");
        QFile conf(env.configHome() + "/quillmote/notifier.conf");
        return conf.open(QIODevice::WriteOnly) && conf.write("[General]\n" + lines) > 0;
    }

    explicit AppProcess(const TestEnv &env, const QMap<QString, QString> &extra = {}, const QStringList &args = {})
    {
        QProcessEnvironment pe = QProcessEnvironment::systemEnvironment();
        pe.insert("QUILLMOTE_HOME", env.quillmoteHome());
        pe.insert("XDG_CONFIG_HOME", env.configHome());
        pe.insert("QUILLMOTE_BIN", "/nonexistent/quillmote");
        pe.insert("QUILLMOTE_WEB_PORT", "1");
        pe.insert("QUILLMOTE_LOG_PRIVATE", "0");
        for (auto it = extra.cbegin(); it != extra.cend(); ++it) {
            if (it.value().isNull())
                pe.remove(it.key());
            else
                pe.insert(it.key(), it.value());
        }
        proc.setProcessEnvironment(pe);
        proc.start(QStringLiteral(QM_APP_BINARY), args);
    }
    ~AppProcess() { stopProcess(proc, 5000); }
    QString log()
    {
        seen += QString::fromUtf8(proc.readAllStandardError());
        return seen;
    }
    bool waitFor(const QString &fragment, int timeoutMs = 10000)
    {
        return QTest::qWaitFor([&] { return log().contains(fragment); }, timeoutMs);
    }
    // Resident memory in MiB, from the kernel's own count.
    double residentMiB() const
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(proc.processId()));
        if (!status.open(QIODevice::ReadOnly))
            return -1;
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmRSS:"))
                return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
        }
        return -1;
    }

    QProcess proc;
    QString seen;
};
