#pragma once

#include "intents/IntentDefinition.h"
#include "intents/IntentResult.h"

#include <QObject>
#include <QVariantMap>

#include <functional>
#include <memory>

class AuthGate;
class Confirmer;
class ToolRunner;

// Runs the actions, each the same way: check the parameters, ask for confirmation when it
// changes something, authenticate when it is sensitive and the gate is on, run the tool
// once, log one line, answer with one dialog. Several actions may run at once; they share
// nothing. Lives on the main thread; `done` is called there, exactly once.
class IntentsService : public QObject
{
    Q_OBJECT
public:
    // Without a runner the real tool runs (CLIRunner). The ports must outlive the service.
    IntentsService(Confirmer &confirmer, AuthGate &gate, ToolRunner *runner = nullptr, QObject *parent = nullptr);
    ~IntentsService() override;

    using Done = std::function<void(const IntentResult &)>;

    // `name` as IntentCatalogue::find takes it; `values` keyed by parameter name.
    void perform(const QString &name, const QVariantMap &values, Done done);
    void perform(const IntentDefinition &intent, const IntentArguments &args, Done done);

    ToolRunner &runner() { return *m_runner; }

private:
    void runTool(const IntentDefinition &intent, const IntentArguments &args, Done done);

    Confirmer &m_confirmer;
    AuthGate &m_gate;
    std::unique_ptr<ToolRunner> m_ownRunner;
    ToolRunner *m_runner;
};
