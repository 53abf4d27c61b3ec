#pragma once

#include "intents/AppIntentError.h"

#include <QString>
#include <QStringList>

// How one action ended: with its result dialog, cancelled (the user declined the
// confirmation; nothing ran), or failed with an Unrecoverable error.
struct IntentResult {
    enum class Status { completed, cancelled, failed };

    Status status = Status::completed;
    QString dialog;
    AppIntentError::Unrecoverable error;

    static IntentResult completed(const QString &dialog) { return { Status::completed, dialog, {} }; }
    static IntentResult cancelled() { return { Status::cancelled, {}, {} }; }
    static IntentResult failed(const QString &message) { return { Status::failed, {}, { message } }; }

    bool isCompleted() const { return status == Status::completed; }
    bool operator==(const IntentResult &) const = default;
};
