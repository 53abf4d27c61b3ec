#include "intents/IntentsService.h"

#include "core/Log.h"
#include "intents/AuthGate.h"
#include "intents/BiometricGate.h"
#include "intents/Confirmer.h"
#include "intents/IntentCatalogue.h"
#include "intents/ToolRunner.h"

#include <QPointer>

IntentsService::IntentsService(Confirmer &confirmer, AuthGate &gate, ToolRunner *runner, QObject *parent)
    : QObject(parent)
    , m_confirmer(confirmer)
    , m_gate(gate)
    , m_ownRunner(runner ? nullptr : std::make_unique<CLIToolRunner>())
    , m_runner(runner ? runner : m_ownRunner.get())
{
}

IntentsService::~IntentsService() = default;

void IntentsService::perform(const QString &name, const QVariantMap &values, Done done)
{
    const IntentDefinition *intent = IntentCatalogue::find(name);
    if (!intent) {
        done(IntentResult::failed(QStringLiteral("没有名为「%1」的操作。").arg(name)));
        return;
    }
    perform(*intent, IntentArguments(values), std::move(done));
}

void IntentsService::perform(const IntentDefinition &intent, const IntentArguments &args, Done done)
{
    if (const std::optional<QString> problem = intent.validate(args)) {
        done(IntentResult::failed(*problem));
        return;
    }

    // Confirm first, then authenticate, then run. The definition is copied so a caller's
    // temporary may go away while the user thinks.
    QPointer<IntentsService> self(this);
    auto gateThenRun = [self, intent, args, done] {
        if (!self)
            return;
        auto afterGate = [self, intent, args, done](bool allowed) {
            if (!self)
                return;
            if (!allowed) {
                done(IntentResult::completed(IntentCatalogue::gateCancelledDialog()));
                return;
            }
            self->runTool(intent, args, done);
        };
        if (intent.gateReason.isEmpty())
            afterGate(true);
        else
            BiometricGate::require(self->m_gate, intent.gateReason, afterGate);
    };

    if (intent.confirmation == Confirmation::none) {
        gateThenRun();
        return;
    }
    // A declined confirmation is a cancellation: nothing runs and the action logs nothing.
    m_confirmer.ask(intent.confirmationText(args), IntentCatalogue::confirmLabel(intent.confirmation),
        [gateThenRun, done](bool accepted) {
            if (!accepted) {
                done(IntentResult::cancelled());
                return;
            }
            gateThenRun();
        });
}

void IntentsService::runTool(const IntentDefinition &intent, const IntentArguments &args, Done done)
{
    m_runner->run(intent.toolArgumentsFor(args)).then(this, [intent, args, done](const CLIOutcome<CLIResult> &run) {
        const ToolAnswer answer = intent.answerFor(args, run);
        if (answer.error) {
            done(IntentResult::failed(answer.error->description()));
            return;
        }
        Log::info(Log::Category::intents, answer.logLine);
        done(IntentResult::completed(answer.dialog));
    });
}
