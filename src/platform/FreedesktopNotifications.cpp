#include "platform/FreedesktopNotifications.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

// The image-data hint, (iiibiiay): width, height, rowstride, has alpha, bits per sample,
// channels, RGBA bytes.
struct NotificationImage {
    int width = 0;
    int height = 0;
    int rowStride = 0;
    bool hasAlpha = true;
    int bitsPerSample = 8;
    int channels = 4;
    QByteArray data;
};
Q_DECLARE_METATYPE(NotificationImage)

QDBusArgument &operator<<(QDBusArgument &arg, const NotificationImage &img)
{
    arg.beginStructure();
    arg << img.width << img.height << img.rowStride << img.hasAlpha << img.bitsPerSample << img.channels << img.data;
    arg.endStructure();
    return arg;
}

const QDBusArgument &operator>>(const QDBusArgument &arg, NotificationImage &img)
{
    arg.beginStructure();
    arg >> img.width >> img.height >> img.rowStride >> img.hasAlpha >> img.bitsPerSample >> img.channels >> img.data;
    arg.endStructure();
    return arg;
}

namespace {

NotificationImage toHint(const QImage &image)
{
    const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888);
    NotificationImage out;
    out.width = rgba.width();
    out.height = rgba.height();
    out.rowStride = int(rgba.bytesPerLine());
    out.data = QByteArray(reinterpret_cast<const char *>(rgba.constBits()), rgba.sizeInBytes());
    return out;
}

QString errorText(const QDBusError &error)
{
    return error.message().isEmpty() ? error.name() : error.message();
}

} // namespace

FreedesktopNotifications::FreedesktopNotifications(QObject *parent)
    : FreedesktopNotifications(QDBusConnection::sessionBus(), parent)
{
}

FreedesktopNotifications::FreedesktopNotifications(const QDBusConnection &bus, QObject *parent)
    : NotificationsPort(parent)
    , m_bus(bus)
{
    qDBusRegisterMetaType<NotificationImage>();
    if (!m_bus.isConnected())
        return;
    const QString svc = QString::fromLatin1(service);
    const QString p = QString::fromLatin1(path);
    const QString iface = QString::fromLatin1(interface);
    // The signals are broadcast to every client; the controller keeps only its own ids.
    m_bus.connect(svc, p, iface, QStringLiteral("ActionInvoked"), this, SLOT(actionInvoked(uint, QString)));
    m_bus.connect(svc, p, iface, QStringLiteral("NotificationReplied"), this, SLOT(notificationReplied(uint, QString)));
    m_bus.connect(svc, p, iface, QStringLiteral("NotificationClosed"), this, SLOT(notificationClosed(uint, uint)));
    m_watcher = new QDBusServiceWatcher(svc, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &FreedesktopNotifications::ownerChanged);
}

void FreedesktopNotifications::ownerChanged(const QString &, const QString &, const QString &newOwner)
{
    Q_EMIT serverChanged(!newOwner.isEmpty());
}

void FreedesktopNotifications::probe(std::function<void(const ServerInfo &)> done)
{
    if (!m_bus.isConnected()) {
        ServerInfo info;
        info.error = QStringLiteral("no session bus");
        done(info);
        return;
    }
    auto call = [this](const QString &method) {
        return m_bus.asyncCall(QDBusMessage::createMethodCall(
            QString::fromLatin1(service), QString::fromLatin1(path), QString::fromLatin1(interface), method));
    };
    auto *infoWatch = new QDBusPendingCallWatcher(call(QStringLiteral("GetServerInformation")), this);
    connect(infoWatch, &QDBusPendingCallWatcher::finished, this, [this, call, done](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        QDBusPendingReply<QString, QString, QString, QString> reply = *w;
        ServerInfo info;
        if (reply.isError()) {
            info.error = errorText(reply.error());
            done(info);
            return;
        }
        info.name = reply.argumentAt<0>();
        info.vendor = reply.argumentAt<1>();
        info.version = reply.argumentAt<2>();
        auto *capsWatch = new QDBusPendingCallWatcher(call(QStringLiteral("GetCapabilities")), this);
        connect(capsWatch, &QDBusPendingCallWatcher::finished, this, [info, done](QDBusPendingCallWatcher *cw) mutable {
            cw->deleteLater();
            QDBusPendingReply<QStringList> caps = *cw;
            if (caps.isError()) {
                info.error = errorText(caps.error());
                done(info);
                return;
            }
            info.capabilities = caps.value();
            info.available = true;
            done(info);
        });
    });
}

QVariantMap FreedesktopNotifications::hints(const Banner &banner)
{
    QVariantMap h;
    const uchar urgency = banner.urgency == Banner::Urgency::low ? 0
        : banner.urgency == Banner::Urgency::normal              ? 1
                                                                 : 2;
    h.insert(QStringLiteral("urgency"), QVariant::fromValue(urgency));
    if (!banner.category.isEmpty())
        h.insert(QStringLiteral("category"), banner.category);
    h.insert(QStringLiteral("desktop-entry"), QString::fromLatin1(desktopEntry));
    if (banner.suppressSound)
        h.insert(QStringLiteral("suppress-sound"), true);
    if (!banner.image.isNull())
        h.insert(QStringLiteral("image-data"), QVariant::fromValue(toHint(banner.image)));
    if (!banner.replyPlaceholder.isEmpty())
        h.insert(QStringLiteral("x-kde-reply-placeholder-text"), banner.replyPlaceholder);
    if (!banner.replySubmitLabel.isEmpty())
        h.insert(QStringLiteral("x-kde-reply-submit-button-text"), banner.replySubmitLabel);
    return h;
}

void FreedesktopNotifications::post(const Banner &banner, std::function<void(quint32, const QString &)> done)
{
    if (!m_bus.isConnected()) {
        done(0, QStringLiteral("no session bus"));
        return;
    }
    QStringList actions;
    for (const auto &[key, label] : banner.actions)
        actions << key << label;
    QDBusMessage msg = QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(path),
        QString::fromLatin1(interface), QStringLiteral("Notify"));
    msg << QString::fromLatin1(appName) << uint(banner.replacesId) << QString() << banner.summary << banner.body
        << actions << hints(banner) << int(-1);
    auto *watch = new QDBusPendingCallWatcher(m_bus.asyncCall(msg), this);
    connect(watch, &QDBusPendingCallWatcher::finished, this, [done](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        QDBusPendingReply<uint> reply = *w;
        if (reply.isError())
            done(0, errorText(reply.error()));
        else
            done(reply.value(), QString());
    });
}

void FreedesktopNotifications::actionInvoked(uint id, const QString &actionKey)
{
    Q_EMIT actionChosen(id, actionKey);
}

void FreedesktopNotifications::notificationReplied(uint id, const QString &text)
{
    Q_EMIT replyTyped(id, text);
}

void FreedesktopNotifications::notificationClosed(uint id, uint)
{
    Q_EMIT bannerClosed(id);
}
