#include "ui/ConversationModel.h"

#include "model/ContentNormalizer.h"
#include "model/Format.h"
#include "model/MessageTime.h"
#include "state/AppState.h"
#include "ui/ContentImageProvider.h"

ConversationModel::ConversationModel(AppState &state, ContentImageProvider *images, QObject *parent)
    : QAbstractListModel(parent)
    , m_state(state)
    , m_images(images)
{
    connect(&m_state, &AppState::stateChanged, this, &ConversationModel::reload);
}

void ConversationModel::setPeer(const QString &peer)
{
    if (peer == m_peer)
        return;
    m_peer = peer;
    beginResetModel();
    m_messages = peer.isEmpty() ? QList<Message>() : m_state.conversation(peer);
    endResetModel();
    Q_EMIT peerChanged();
}

// A new document usually only adds messages at the end or changes a status; both keep
// the rows that are on screen instead of rebuilding the list.
void ConversationModel::reload()
{
    if (m_peer.isEmpty())
        return;
    QList<Message> fresh = m_state.conversation(m_peer);
    const qsizetype old = m_messages.size();
    bool prefix = fresh.size() >= old;
    for (qsizetype i = 0; prefix && i < old; ++i)
        prefix = fresh[i].id == m_messages[i].id;
    if (!prefix) {
        beginResetModel();
        m_messages = std::move(fresh);
        endResetModel();
        return;
    }
    QList<qsizetype> changed;
    for (qsizetype i = 0; i < old; ++i) {
        if (!(fresh[i] == m_messages[i]))
            changed.append(i);
    }
    const qsizetype added = fresh.size() - old;
    if (added > 0) {
        // Newest first: new messages are new rows at the top.
        beginInsertRows(QModelIndex(), 0, int(added - 1));
        m_messages = std::move(fresh);
        endInsertRows();
    } else {
        m_messages = std::move(fresh);
    }
    for (const qsizetype i : changed) {
        const QModelIndex row = index(int(m_messages.size() - 1 - i));
        Q_EMIT dataChanged(row, row);
    }
    // The message that used to open the newest day may no longer do so.
    if (added > 0 && old > 0) {
        const QModelIndex row = index(int(added));
        Q_EMIT dataChanged(row, row, {SeparatorRole});
    }
}

int ConversationModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_messages.size());
}

QVariantList ConversationModel::partsOf(const Message &message) const
{
    QVariantList out;
    const QList<ContentPart> parts = ContentNormalizer::parts(message.content);
    for (qsizetype i = 0; i < parts.size(); ++i) {
        QVariantMap map = ContentNormalizer::toVariantMap(parts[i]);
        const auto *image = std::get_if<ImagePart>(&parts[i]);
        if (image && image->dataBase64 && m_images)
            map.insert(QStringLiteral("source"),
                       m_images->insert(message.id + QLatin1Char('/') + QString::number(i), *image->dataBase64));
        // Raw payloads stay in C++: the view needs only the decoded picture or the size.
        map.remove(QStringLiteral("dataBase64"));
        if (map.contains(QStringLiteral("bytes")))
            map.insert(QStringLiteral("size"), Format::bytes(map.value(QStringLiteral("bytes")).toDouble()));
        out.append(map);
    }
    return out;
}

QVariant ConversationModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_messages.size())
        return {};
    const Message &m = messageAt(index.row());
    switch (role) {
    case IdRole: return m.id;
    case OutgoingRole: return m.direction == QLatin1String("out");
    case TypeRole: return m.type;
    case PartsRole: return partsOf(m);
    case TimeRole: {
        const auto millis = MessageTime::parse(m.createdAt);
        return millis ? QDateTime::fromMSecsSinceEpoch(qint64(*millis)).toString(QStringLiteral("HH:mm")) : QString();
    }
    case SeparatorRole: {
        const int olderRow = index.row() + 1;
        if (olderRow < m_messages.size() && Format::dayKey(messageAt(olderRow).createdAt) == Format::dayKey(m.createdAt))
            return QString();
        return Format::daySeparator(m.createdAt);
    }
    case StatusRole: return m.status.value_or(QString());
    default: return {};
    }
}

QHash<int, QByteArray> ConversationModel::roleNames() const
{
    return {{IdRole, "messageId"}, {OutgoingRole, "outgoing"}, {TypeRole, "messageType"}, {PartsRole, "parts"},
            {TimeRole, "time"},    {SeparatorRole, "separator"}, {StatusRole, "status"}};
}
