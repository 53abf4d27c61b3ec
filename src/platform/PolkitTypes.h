#pragma once

#include <QDBusArgument>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

// The structures of org.freedesktop.PolicyKit1.Authority.CheckAuthorization.
struct PolkitSubject { // (sa{sv})
    QString kind;
    QVariantMap details;
};

struct PolkitAuthorizationResult { // (bba{ss})
    bool isAuthorized = false;
    bool isChallenge = false;
    QMap<QString, QString> details;
};

QDBusArgument &operator<<(QDBusArgument &arg, const PolkitSubject &s);
const QDBusArgument &operator>>(const QDBusArgument &arg, PolkitSubject &s);
QDBusArgument &operator<<(QDBusArgument &arg, const PolkitAuthorizationResult &r);
const QDBusArgument &operator>>(const QDBusArgument &arg, PolkitAuthorizationResult &r);

// Registers the types with Qt D-Bus (idempotent).
void registerPolkitTypes();

Q_DECLARE_METATYPE(PolkitSubject)
Q_DECLARE_METATYPE(PolkitAuthorizationResult)
