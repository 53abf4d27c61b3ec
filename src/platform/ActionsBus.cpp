#include "platform/ActionsBus.h"

#include "intents/IntentCatalogue.h"
#include "intents/IntentsService.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QPointer>

QDBusArgument &operator<<(QDBusArgument &arg, const ActionsBusEntity &e)
{
    arg.beginStructure();
    arg << e.id << e.display;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, ActionsBusEntity &e)
{
    arg.beginStructure();
    arg >> e.id >> e.display;
    arg.endStructure();
    return arg;
}

namespace {

struct QueryMethod {
    const char *name;
    EntityQueries::Kind kind;
};
constexpr QueryMethod kQueries[] = {
    { "ListFriends", EntityQueries::Kind::friends },
    { "ListFriendRequests", EntityQueries::Kind::friendRequests },
    { "ListInboxMessages", EntityQueries::Kind::inboxMessages },
};

} // namespace

ActionsBus::ActionsBus(IntentsService &service, EntityQueries &queries, QObject *parent)
    : QDBusVirtualObject(parent)
    , m_service(service)
    , m_queries(queries)
{
    qDBusRegisterMetaType<ActionsBusEntity>();
    qDBusRegisterMetaType<QList<ActionsBusEntity>>();
}

bool ActionsBus::registerOn(QDBusConnection bus)
{
    return bus.registerVirtualObject(QString::fromLatin1(objectPath), this, QDBusConnection::SingleNode);
}

QString ActionsBus::dbusType(const IntentParameter &p)
{
    switch (p.kind) {
    case IntentParameter::Kind::days:
        return QStringLiteral("i");
    case IntentParameter::Kind::toggle:
    case IntentParameter::Kind::flag:
        return QStringLiteral("b");
    default:
        return QStringLiteral("s");
    }
}

QString ActionsBus::signatureOf(const IntentDefinition &intent)
{
    QString sig;
    for (const IntentParameter &p : intent.parameters)
        sig += dbusType(p);
    return sig;
}

QString ActionsBus::introspect(const QString &) const
{
    QString xml = QStringLiteral("<interface name=\"%1\">\n").arg(QLatin1String(interfaceName));
    for (const IntentDefinition &intent : IntentCatalogue::all()) {
        xml += QStringLiteral("  <method name=\"%1\">\n").arg(intent.methodName());
        for (const IntentParameter &p : intent.parameters)
            xml += QStringLiteral("    <arg name=\"%1\" type=\"%2\" direction=\"in\"/>\n").arg(p.name, dbusType(p));
        xml += QStringLiteral("    <arg name=\"dialog\" type=\"s\" direction=\"out\"/>\n  </method>\n");
    }
    for (const QueryMethod &q : kQueries)
        xml += QStringLiteral("  <method name=\"%1\">\n    <arg name=\"search\" type=\"s\" direction=\"in\"/>\n"
                              "    <arg name=\"entities\" type=\"a(ss)\" direction=\"out\"/>\n  </method>\n")
                   .arg(QLatin1String(q.name));
    return xml + QStringLiteral("</interface>\n");
}

bool ActionsBus::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    if (message.type() != QDBusMessage::MethodCallMessage)
        return false;
    if (!message.interface().isEmpty() && message.interface() != QLatin1String(interfaceName))
        return false;
    // Qt may hand virtual objects their messages on its bus thread; the actions live on ours.
    QPointer<ActionsBus> self(this);
    QMetaObject::invokeMethod(
        this,
        [self, message, connection] {
            if (self)
                self->dispatch(message, connection);
        },
        Qt::QueuedConnection);
    return true;
}

void ActionsBus::dispatch(const QDBusMessage &message, QDBusConnection connection)
{
    const QString member = message.member();
    for (const QueryMethod &q : kQueries) {
        if (member != QLatin1String(q.name))
            continue;
        if (message.signature() != QLatin1String("s")) {
            connection.send(message.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("expected (s search)")));
            return;
        }
        m_queries.matching(
            q.kind, message.arguments().value(0).toString(), [message, connection](const QList<IntentEntity> &found) {
                QList<ActionsBusEntity> out;
                for (const IntentEntity &e : found)
                    out.append({ e.id, e.display });
                QDBusConnection(connection).send(message.createReply(QVariant::fromValue(out)));
            });
        return;
    }

    const IntentDefinition *intent = nullptr;
    for (const IntentDefinition &d : IntentCatalogue::all()) {
        if (d.methodName() == member)
            intent = &d;
    }
    if (!intent) {
        connection.send(
            message.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("no method %1").arg(member)));
        return;
    }
    if (message.signature() != signatureOf(*intent)) {
        connection.send(message.createErrorReply(
            QDBusError::InvalidArgs, QStringLiteral("%1 takes (%2)").arg(member, signatureOf(*intent))));
        return;
    }

    QVariantMap values;
    const QList<QVariant> args = message.arguments();
    for (qsizetype i = 0; i < intent->parameters.size(); ++i) {
        const IntentParameter &p = intent->parameters[i];
        const QVariant v = args.value(i);
        if (p.kind == IntentParameter::Kind::days) {
            if (v.toInt() > 0)
                values.insert(p.name, v.toInt());
        } else {
            values.insert(p.name, v);
        }
    }
    m_service.perform(*intent, IntentArguments(values), [message, connection](const IntentResult &result) {
        QDBusConnection bus(connection);
        switch (result.status) {
        case IntentResult::Status::completed:
            bus.send(message.createReply(result.dialog));
            return;
        case IntentResult::Status::cancelled:
            bus.send(message.createErrorReply(QString::fromLatin1(cancelledError), QStringLiteral("已取消。")));
            return;
        case IntentResult::Status::failed:
            bus.send(
                message.createErrorReply(QString::fromLatin1(unrecoverableError), result.error.errorDescription()));
            return;
        }
    });
}
