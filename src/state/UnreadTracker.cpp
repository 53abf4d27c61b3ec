#include "state/UnreadTracker.h"

#include "core/SettingsStore.h"
#include "model/MessageTime.h"

#include <QThread>
#include <QVariantMap>

#include <limits>

namespace {

bool isNumber(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return true;
    default:
        return false;
    }
}

} // namespace

UnreadTracker::UnreadTracker(QObject *parent, Storage storage)
    : QObject(parent)
    , m_storage(storage)
{
    if (storage == Storage::scratch)
        return;
    const auto stored = SettingsStore::value(settingsKey);
    if (!stored || stored->typeId() != QMetaType::QVariantMap)
        return;
    const QVariantMap map = stored->toMap();
    QHash<QString, double> loaded;
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (!isNumber(it.value()))
            return; // one bad value discards the whole record
        loaded.insert(it.key(), it.value().toDouble());
    }
    m_lastRead = std::move(loaded);
}

int UnreadTracker::unreadCount(const QString &peer, const QList<std::optional<double>> &times) const
{
    const double mark = m_lastRead.value(peer, std::numeric_limits<double>::lowest());
    int count = 0;
    for (const auto &t : times) {
        if (t ? mark < *t : mark < 0)
            ++count;
    }
    return count;
}

int UnreadTracker::unreadCount(const QString &peer, const QList<Message> &messages) const
{
    QList<std::optional<double>> times;
    times.reserve(messages.size());
    for (const Message &m : messages)
        times.append(MessageTime::parse(m.createdAt));
    return unreadCount(peer, times);
}

void UnreadTracker::markRead(const QString &peer, const QList<Message> &messages)
{
    Q_ASSERT(QThread::currentThread() == thread());
    std::optional<double> newest;
    for (const Message &m : messages) {
        if (const auto t = MessageTime::parse(m.createdAt); t && (!newest || *t > *newest))
            newest = t;
    }
    markReadUpTo(peer, newest);
}

void UnreadTracker::markReadUpTo(const QString &peer, std::optional<double> newest)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (!newest)
        return;
    const auto current = m_lastRead.constFind(peer);
    if (current != m_lastRead.constEnd() && !(*newest > *current))
        return;
    m_lastRead.insert(peer, *newest);
    if (m_storage == Storage::scratch) {
        Q_EMIT changed();
        return;
    }
    QVariantMap map;
    for (auto it = m_lastRead.constBegin(); it != m_lastRead.constEnd(); ++it)
        map.insert(it.key(), it.value());
    SettingsStore::setValue(settingsKey, map);
    Q_EMIT changed();
}
