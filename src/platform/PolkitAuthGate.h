#pragma once

#include "intents/AuthGate.h"

#include <QDBusConnection>
#include <QObject>

// The authentication gate on Linux: polkit's CheckAuthorization for our own action
// (auth_self), so the desktop's polkit agent asks for a fingerprint or the password.
// Fails closed: no authority, no policy installed or any error is the "failed" answer.
//
// QUILLMOTE_POLKIT_BUS points it at another bus ("session", or a D-Bus address) so tests
// can stand a small authority of their own in for the system's.
class PolkitAuthGate : public QObject, public AuthGate
{
    Q_OBJECT
public:
    static constexpr const char *actionId = "com.quillmote.Notifier.sensitive-action";

    explicit PolkitAuthGate(QObject *parent = nullptr);

    void authenticate(const QString &reason, std::function<void(const Answer &)> done) override;

    // The kernel's start time of this process (field 22 of /proc/self/stat), which polkit
    // pairs with the pid so a recycled pid cannot borrow our authorization.
    static quint64 processStartTime();

private:
    QDBusConnection bus() const;
};
