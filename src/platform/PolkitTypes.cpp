#include "platform/PolkitTypes.h"

#include <QDBusMetaType>

QDBusArgument &operator<<(QDBusArgument &arg, const PolkitSubject &s)
{
    arg.beginStructure();
    arg << s.kind << s.details;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, PolkitSubject &s)
{
    arg.beginStructure();
    arg >> s.kind >> s.details;
    arg.endStructure();
    return arg;
}

QDBusArgument &operator<<(QDBusArgument &arg, const PolkitAuthorizationResult &r)
{
    arg.beginStructure();
    arg << r.isAuthorized << r.isChallenge << r.details;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, PolkitAuthorizationResult &r)
{
    arg.beginStructure();
    arg >> r.isAuthorized >> r.isChallenge >> r.details;
    arg.endStructure();
    return arg;
}

void registerPolkitTypes()
{
    static const bool once = [] {
        qDBusRegisterMetaType<QMap<QString, QString>>();
        qDBusRegisterMetaType<PolkitSubject>();
        qDBusRegisterMetaType<PolkitAuthorizationResult>();
        return true;
    }();
    Q_UNUSED(once);
}
