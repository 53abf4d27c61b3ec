#pragma once

#include "cli/CLIRunner.h"
#include "support/TestEnv.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

// The stand-in tool behind QUILLMOTE_BIN, with its state file and argument log in the
// test's own folder.
struct SimWorld {
    TestEnv env;

    SimWorld()
    {
        CLIRunner::resetCacheForTesting();
        env.set("QUILLMOTE_BIN", simPath().toUtf8());
        env.set("QUILLMOTE_SIM_STATE", statePath().toUtf8());
        env.set("QUILLMOTE_SIM_ARGV_LOG", argvLogPath().toUtf8());
    }
    ~SimWorld() { CLIRunner::resetCacheForTesting(); }

    QString statePath() const { return env.root() + QStringLiteral("/sim-state.json"); }
    QString argvLogPath() const { return env.root() + QStringLiteral("/argv.log"); }

    // Every argument vector the tool was started with, oldest first.
    QList<QStringList> argvs() const
    {
        QList<QStringList> out;
        QFile f(argvLogPath());
        if (!f.open(QIODevice::ReadOnly))
            return out;
        for (const QByteArray &line : f.readAll().split('\n')) {
            if (line.isEmpty())
                continue;
            QStringList argv;
            for (const QJsonValue &v : QJsonDocument::fromJson(line).array())
                argv.append(v.toString());
            out.append(argv);
        }
        return out;
    }

    // Replaces some top-level fields of the stand-in's state (the rest keep their defaults).
    void setState(const QJsonObject &fields)
    {
        QJsonObject state { { "me", "me" }, { "friends", QJsonArray { "alice", "bob" } },
            { "requests", QJsonArray { "carol" } }, { "contacts", QJsonArray {} }, { "shares", QJsonArray {} },
            { "devices", QJsonArray {} }, { "inbox", QJsonArray {} }, { "blocked", QJsonArray {} },
            { "acceptStrangers", false }, { "capabilities", QJsonValue() }, { "sent", QJsonArray {} } };
        for (auto it = fields.begin(); it != fields.end(); ++it)
            state.insert(it.key(), it.value());
        QFile f(statePath());
        if (f.open(QIODevice::WriteOnly))
            f.write(QJsonDocument(state).toJson());
    }
};
