#pragma once

#include "intents/AuthGate.h"

#include <QDBusConnection>
#include <QObject>

#include <optional>

// The authentication gate on Linux: polkit's CheckAuthorization for our own action
// (auth_self), so the desktop's polkit agent asks for a fingerprint or the password.
// Fails closed: no authority, no policy installed or any error is the "failed" answer.
//
// The authority is always the system bus's: nothing in the environment can point the gate
// elsewhere, or any process of the user could answer it. Tests hand a bus of their own to
// the second constructor.
class PolkitAuthGate : public QObject, public AuthGate
{
    Q_OBJECT
public:
    static constexpr const char *actionId = "com.quillmote.Notifier.sensitive-action";

    explicit PolkitAuthGate(QObject *parent = nullptr);
    PolkitAuthGate(const QDBusConnection &authorityBus, QObject *parent = nullptr);

    void authenticate(const QString &reason, std::function<void(const Answer &)> done) override;

    // The kernel's start time of this process (field 22 of /proc/self/stat), which polkit
    // pairs with the pid so a recycled pid cannot borrow our authorization.
    static quint64 processStartTime();

private:
    QDBusConnection bus() const;

    std::optional<QDBusConnection> m_bus; // none: the system bus, connected on first use
};
