#pragma once

#include "cli/CLIResult.h"
#include "cli/CLIRunner.h"

#include <QFuture>
#include <QStringList>

// Port: runs the command-line tool once. The future finishes on a worker thread; callers
// attach a continuation with a context object to be handed the outcome on their own.
class ToolRunner
{
public:
    virtual ~ToolRunner() = default;
    virtual QFuture<CLIOutcome<CLIResult>> run(const QStringList &args) = 0;
};

// The real tool, through CLIRunner.
class CLIToolRunner final : public ToolRunner
{
public:
    QFuture<CLIOutcome<CLIResult>> run(const QStringList &args) override { return CLIRunner::run(args); }
};
