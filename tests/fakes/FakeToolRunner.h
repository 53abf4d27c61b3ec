#pragma once

#include "intents/ToolRunner.h"
#include "support/TestEnv.h"

#include <QFile>
#include <QFuture>
#include <QHash>

#include <optional>

// The tool's answers without starting it: `answers` by command first, then the files under
// tests/data/tool, "<command>-<first argument>.json" before "<command>.json" (what the
// stand-in tool prints from its default state). A command with neither exits 2.
// `failure`, when set, is every run's result. Remembers every argument vector.
class FakeToolRunner final : public ToolRunner
{
public:
    QList<QStringList> argvs;
    QHash<QString, QByteArray> answers;
    std::optional<CLIResult> failure;

    QFuture<CLIOutcome<CLIResult>> run(const QStringList &args) override
    {
        argvs.append(args);
        return QtFuture::makeReadyFuture(CLIOutcome<CLIResult>(failure ? *failure : answer(args)));
    }

private:
    CLIResult answer(const QStringList &args) const
    {
        const QString command = args.value(0);
        if (answers.contains(command))
            return { 0, QString::fromUtf8(answers[command]), {} };
        const QString dir = sourceDir() + QStringLiteral("/tests/data/tool/");
        for (const QString &name : { command + QLatin1Char('-') + args.value(1), command }) {
            QFile f(dir + name + QStringLiteral(".json"));
            if (f.open(QIODevice::ReadOnly))
                return { 0, QString::fromUtf8(f.readAll()), {} };
        }
        return { 2, {}, QStringLiteral("no answer for ") + args.join(QLatin1Char(' ')) };
    }
};
