#include "platform/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

SingleInstance::SingleInstance(QObject *parent)
    : QObject(parent)
{
}

SingleInstance::Role SingleInstance::claim()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface())
        return Role::noBus;
    const auto reply = bus.interface()->registerService(QString::fromLatin1(serviceName),
        QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered)
        return Role::secondary;
    bus.registerObject(QString::fromLatin1(objectPath), this, QDBusConnection::ExportScriptableSlots);
    return Role::primary;
}

bool SingleInstance::handOff(const QString &url, QString *error)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(serviceName),
        QString::fromLatin1(objectPath), QStringLiteral("com.quillmote.Notifier"),
        url.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("OpenURL"));
    if (!url.isEmpty())
        call << url;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 5000);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        if (error)
            *error = reply.errorMessage();
        return false;
    }
    return true;
}

void SingleInstance::OpenURL(const QString &url)
{
    Q_EMIT openURLRequested(url);
}

void SingleInstance::Activate()
{
    Q_EMIT activationRequested();
}
