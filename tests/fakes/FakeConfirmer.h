#pragma once

#include "intents/Confirmer.h"

#include <QList>
#include <QPair>

// Answers every confirmation at once with `accept`, and remembers what was asked.
class FakeConfirmer : public Confirmer
{
public:
    bool accept = true;
    QList<QPair<QString, QString>> asked; // text, confirm label

    void ask(const QString &text, const QString &confirmLabel, std::function<void(bool)> done) override
    {
        asked.append({ text, confirmLabel });
        done(accept);
    }
};
