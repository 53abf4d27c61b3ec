#pragma once

#include "platform/PolkitTypes.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

// A polkit authority of the tests' own: answers CheckAuthorization as told and keeps the
// last call's subject, action and flags.
class FakePolkitAuthority : public QDBusVirtualObject
{
public:
    enum class Mode { authorize, deny, dismiss, notRegistered };
    Mode mode = Mode::authorize;
    PolkitSubject subject;
    QString actionId;
    QMap<QString, QString> details;
    uint flags = 0;

    bool registerOn(QDBusConnection bus)
    {
        registerPolkitTypes();
        return bus.registerService(QStringLiteral("org.freedesktop.PolicyKit1"))
            && bus.registerVirtualObject(QStringLiteral("/org/freedesktop/PolicyKit1/Authority"), this);
    }

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.member() != QLatin1String("CheckAuthorization"))
            return false;
        const QList<QVariant> args = message.arguments();
        subject = qdbus_cast<PolkitSubject>(args.value(0));
        actionId = args.value(1).toString();
        details = qdbus_cast<QMap<QString, QString>>(args.value(2));
        flags = args.value(3).toUInt();
        PolkitAuthorizationResult result;
        switch (mode) {
        case Mode::authorize:
            result.isAuthorized = true;
            break;
        case Mode::deny:
            break;
        case Mode::dismiss:
            result.details.insert(QStringLiteral("polkit.dismissed"), QStringLiteral("true"));
            break;
        case Mode::notRegistered:
            QDBusConnection(connection)
                .send(message.createErrorReply(QStringLiteral("org.freedesktop.PolicyKit1.Error.Failed"),
                    QStringLiteral("Action %1 is not registered").arg(actionId)));
            return true;
        }
        QDBusConnection(connection).send(message.createReply(QVariant::fromValue(result)));
        return true;
    }
};
