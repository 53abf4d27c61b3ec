#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QImage>
#include <QVariantMap>

// A notification server of the tests' own on the session bus, on a connection of its own:
// it answers every call at once, records each Notify with its arguments decoded, and can
// send the signals a real server sends (ActionInvoked, NotificationReplied).
class FakeNotificationServer : public QDBusVirtualObject
{
public:
    struct Call {
        QString appName;
        quint32 replacesId = 0;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints; // image-data decoded to a QImage
        quint32 id = 0;
    };

    explicit FakeNotificationServer(QStringList capabilities, const QString &connectionName = "fake-notifications")
        : m_capabilities(std::move(capabilities))
        , m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName))
    {
    }
    ~FakeNotificationServer() override { stop(); }

    bool start()
    {
        return m_bus.registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), this)
            && m_bus.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    void stop()
    {
        m_bus.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
        m_bus.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
    }

    void emitAction(quint32 id, const QString &key) { emitSignal("ActionInvoked", { id, key }); }
    void emitReplied(quint32 id, const QString &text) { emitSignal("NotificationReplied", { id, text }); }

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QString member = message.member();
        if (member == QLatin1String("GetServerInformation")) {
            connection.send(message.createReply(QVariantList { "fake", "quillmote-tests", "1.0", "1.2" }));
        } else if (member == QLatin1String("GetCapabilities")) {
            connection.send(message.createReply(QVariant(m_capabilities)));
        } else if (member == QLatin1String("Notify")) {
            const QVariantList a = message.arguments();
            Call c;
            c.appName = a.value(0).toString();
            c.replacesId = a.value(1).toUInt();
            c.summary = a.value(3).toString();
            c.body = a.value(4).toString();
            c.actions = a.value(5).toStringList();
            c.hints = decodeHints(a.value(6));
            c.id = c.replacesId ? c.replacesId : ++m_lastId;
            connection.send(message.createReply(QVariant::fromValue(uint(c.id))));
            calls.append(c);
        } else if (member == QLatin1String("CloseNotification")) {
            connection.send(message.createReply());
        } else {
            return false;
        }
        return true;
    }

    QList<Call> calls;

private:
    void emitSignal(const char *name, const QVariantList &args)
    {
        QDBusMessage s = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QString::fromLatin1(name));
        s.setArguments(args);
        m_bus.send(s);
    }

    static QVariantMap decodeHints(const QVariant &v)
    {
        QVariantMap raw = qdbus_cast<QVariantMap>(v.value<QDBusArgument>());
        QVariantMap out;
        for (auto it = raw.cbegin(); it != raw.cend(); ++it) {
            QVariant value = it.value();
            if (value.canConvert<QDBusVariant>())
                value = value.value<QDBusVariant>().variant();
            if (it.key() == QLatin1String("image-data") && value.canConvert<QDBusArgument>())
                value = decodeImage(value.value<QDBusArgument>());
            out.insert(it.key(), value);
        }
        return out;
    }

    static QVariant decodeImage(const QDBusArgument &arg)
    {
        int w = 0, h = 0, stride = 0, bits = 0, channels = 0;
        bool alpha = false;
        QByteArray data;
        arg.beginStructure();
        arg >> w >> h >> stride >> alpha >> bits >> channels >> data;
        arg.endStructure();
        if (bits != 8 || channels != (alpha ? 4 : 3) || data.size() < qsizetype(stride) * h)
            return QStringLiteral("bad image-data");
        QImage img(reinterpret_cast<const uchar *>(data.constData()), w, h, stride,
            alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
        return img.copy();
    }

    QStringList m_capabilities;
    QDBusConnection m_bus;
    quint32 m_lastId = 0;
};
