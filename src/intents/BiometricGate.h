#pragma once

#include "intents/AuthGate.h"

#include <QString>

#include <functional>

// The authentication check in front of the four sensitive actions. With the gate switched
// off (the default) it lets everything through at once, silently. Otherwise it asks the
// AuthGate and logs which of authorized / denied / failed happened. Never fails: `done`
// always gets a verdict.
namespace BiometricGate {

void require(AuthGate &gate, const QString &action, std::function<void(bool allowed)> done);

} // namespace BiometricGate
