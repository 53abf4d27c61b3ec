#include "platform/PolkitAuthGate.h"

#include "platform/PolkitTypes.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>

#include <unistd.h>

namespace {
// The prompt may stay open while the user fetches a finger; give it ten minutes.
constexpr int kPromptTimeoutMs = 10 * 60 * 1000;
constexpr quint32 kAllowUserInteraction = 1;
} // namespace

PolkitAuthGate::PolkitAuthGate(QObject *parent)
    : QObject(parent)
{
    registerPolkitTypes();
}

PolkitAuthGate::PolkitAuthGate(const QDBusConnection &authorityBus, QObject *parent)
    : QObject(parent)
    , m_bus(authorityBus)
{
    registerPolkitTypes();
}

quint64 PolkitAuthGate::processStartTime()
{
    QFile stat(QStringLiteral("/proc/self/stat"));
    if (!stat.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray line = stat.readAll();
    // The command name in field 2 may hold blanks and parentheses: count from the last ')'.
    const qsizetype close = line.lastIndexOf(')');
    if (close < 0)
        return 0;
    const QList<QByteArray> fields = line.mid(close + 2).split(' ');
    // fields[0] is field 3 (state), so field 22 is fields[19].
    return fields.size() > 19 ? fields[19].toULongLong() : 0;
}

QDBusConnection PolkitAuthGate::bus() const
{
    return m_bus ? *m_bus : QDBusConnection::systemBus();
}

void PolkitAuthGate::authenticate(const QString &reason, std::function<void(const Answer &)> done)
{
    QDBusConnection connection = bus();
    if (!connection.isConnected()) {
        const QString why
            = connection.lastError().isValid() ? connection.lastError().message() : QStringLiteral("no bus");
        done(Answer::failed(QStringLiteral("polkit unavailable: ") + why));
        return;
    }

    PolkitSubject subject;
    subject.kind = QStringLiteral("unix-process");
    subject.details.insert(QStringLiteral("pid"), QVariant::fromValue(quint32(::getpid())));
    subject.details.insert(QStringLiteral("start-time"), QVariant::fromValue(processStartTime()));
    subject.details.insert(QStringLiteral("uid"), QVariant::fromValue(qint32(::getuid())));

    // Agents show the details under the prompt: the action the user is about to allow.
    QMap<QString, QString> details { { QStringLiteral("quillmote.action"), reason } };

    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.PolicyKit1"),
        QStringLiteral("/org/freedesktop/PolicyKit1/Authority"), QStringLiteral("org.freedesktop.PolicyKit1.Authority"),
        QStringLiteral("CheckAuthorization"));
    call << QVariant::fromValue(subject) << QString::fromLatin1(actionId) << QVariant::fromValue(details)
         << kAllowUserInteraction << QString();

    auto *watcher = new QDBusPendingCallWatcher(connection.asyncCall(call, kPromptTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [done](QDBusPendingCallWatcher *w) {
        w->deleteLater();
        const QDBusPendingReply<PolkitAuthorizationResult> reply = *w;
        if (reply.isError()) {
            done(Answer::failed(reply.error().name() + QStringLiteral(": ") + reply.error().message()));
            return;
        }
        const PolkitAuthorizationResult result = reply.value();
        if (result.isAuthorized) {
            done(Answer::authorized());
            return;
        }
        // The agent's Cancel button comes back as "not authorized, dismissed".
        if (result.details.value(QStringLiteral("polkit.dismissed")) == QLatin1String("true")) {
            done(Answer::failed(QStringLiteral("dismissed by the user")));
            return;
        }
        done(Answer::denied());
    });
}
