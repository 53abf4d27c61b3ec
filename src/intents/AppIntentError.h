#pragma once

#include <QString>

// The one error the actions fail with. Unrecoverable carries the text the user sees (for a
// tool failure, exactly the runner's description of it).
namespace AppIntentError {

struct Unrecoverable {
    QString message;
    const QString &errorDescription() const { return message; }
    bool operator==(const Unrecoverable &) const = default;
};

} // namespace AppIntentError
