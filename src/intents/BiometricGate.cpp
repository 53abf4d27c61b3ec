#include "intents/BiometricGate.h"

#include "core/Log.h"
#include "core/SettingsStore.h"

namespace BiometricGate {

void require(AuthGate &gate, const QString &action, std::function<void(bool allowed)> done)
{
    if (!SettingsStore::flag(SettingsStore::Key::biometricGate)) {
        done(true);
        return;
    }
    gate.authenticate(action, [action, done = std::move(done)](const AuthGate::Answer &answer) {
        switch (answer.kind) {
        case AuthGate::Answer::Kind::authorized:
            Log::info(Log::Category::intents, QStringLiteral("BiometricGate: authorized action=%1").arg(action));
            done(true);
            return;
        case AuthGate::Answer::Kind::denied:
            Log::error(
                Log::Category::intents, QStringLiteral("BiometricGate: denied (not authorized) action=%1").arg(action));
            done(false);
            return;
        case AuthGate::Answer::Kind::failed:
            Log::error(Log::Category::intents,
                QStringLiteral("BiometricGate: failed action=%1 error=%2").arg(action, answer.error));
            done(false);
            return;
        }
    });
}

} // namespace BiometricGate
