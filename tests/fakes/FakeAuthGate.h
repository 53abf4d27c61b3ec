#pragma once

#include "intents/AuthGate.h"

#include <QStringList>

// Gives every authentication the same answer, and remembers the reasons asked for.
class FakeAuthGate : public AuthGate
{
public:
    Answer answer = Answer::authorized();
    QStringList reasons;

    void authenticate(const QString &reason, std::function<void(const Answer &)> done) override
    {
        reasons.append(reason);
        done(answer);
    }
};
