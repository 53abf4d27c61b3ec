#pragma once

#include <QString>

#include <functional>

// Port: asks the user to confirm a change before anything runs. `confirmLabel` is the
// confirm button's text ("发送" or "继续"); the other button is always "取消".
// `done` is called exactly once, on the caller's thread, with true when accepted.
class Confirmer
{
public:
    virtual ~Confirmer() = default;
    virtual void ask(const QString &text, const QString &confirmLabel, std::function<void(bool accepted)> done) = 0;
};
