#pragma once

#include "intents/EntityQueries.h"
#include "intents/IntentDefinition.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>

class IntentsService;

// One found entity on the bus: (id, display).
struct ActionsBusEntity {
    QString id;
    QString display;
};
QDBusArgument &operator<<(QDBusArgument &arg, const ActionsBusEntity &e);
const QDBusArgument &operator>>(const QDBusArgument &arg, ActionsBusEntity &e);
Q_DECLARE_METATYPE(ActionsBusEntity)

// The actions on the session bus: interface com.quillmote.Notifier.Actions at
// /com/quillmote/Notifier/Actions, one method per action (SendMessage, Friends, …) that
// answers with the result dialog, and ListFriends / ListFriendRequests /
// ListInboxMessages(search) → a(ss) of (id, display). A failed action answers with the
// error com.quillmote.Notifier.Error.Unrecoverable carrying the user's text, a declined
// confirmation with com.quillmote.Notifier.Error.Cancelled.
//
// Methods and their signatures come from the catalogue, so a new action needs no code here.
class ActionsBus : public QDBusVirtualObject
{
    Q_OBJECT
public:
    static constexpr const char *objectPath = "/com/quillmote/Notifier/Actions";
    static constexpr const char *interfaceName = "com.quillmote.Notifier.Actions";
    static constexpr const char *unrecoverableError = "com.quillmote.Notifier.Error.Unrecoverable";
    static constexpr const char *cancelledError = "com.quillmote.Notifier.Error.Cancelled";

    ActionsBus(IntentsService &service, EntityQueries &queries, QObject *parent = nullptr);

    bool registerOn(QDBusConnection bus);

    // The D-Bus type of a parameter: s, i (days; 0 = not given) or b.
    static QString dbusType(const IntentParameter &p);
    static QString signatureOf(const IntentDefinition &intent);

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    void dispatch(const QDBusMessage &message, QDBusConnection connection);

    IntentsService &m_service;
    EntityQueries &m_queries;
};
