#pragma once

#include <QString>

#include <functional>

// Port: asks the system to authenticate the user (fingerprint or password) before a
// sensitive action. `reason` names the action in the prompt. `done` is called exactly once,
// on the caller's thread.
class AuthGate
{
public:
    struct Answer {
        enum class Kind { authorized, denied, failed };
        Kind kind = Kind::failed;
        // failed: what went wrong (the user dismissed the prompt, no authority, …).
        QString error;

        static Answer authorized() { return { Kind::authorized, {} }; }
        static Answer denied() { return { Kind::denied, {} }; }
        static Answer failed(const QString &error) { return { Kind::failed, error }; }
    };

    virtual ~AuthGate() = default;
    virtual void authenticate(const QString &reason, std::function<void(const Answer &)> done) = 0;
};
