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
    m_all = m_state.state().messages;
    m_rows = peer.isEmpty() ? QList<qsizetype>() : m_state.conversationRows(peer);
    endResetModel();
    Q_EMIT peerChanged();
}

// A new document usually only adds messages at the end or changes a status; both keep
// the rows that are on screen instead of rebuilding the list.
void ConversationModel::reload()
{
    if (m_peer.isEmpty())
        return;
    const QList<Message> &all = m_state.state().messages;
    const QList<qsizetype> rows = m_state.conversationRows(m_peer);
    const qsizetype old = m_rows.size();
    // One pass over a long conversation: the rows kept in place, and which of them changed.
    bool prefix = rows.size() >= old;
    QList<qsizetype> changed;
    for (qsizetype i = 0; prefix && i < old; ++i) {
        const Message &now = all[rows[i]];
        const Message &before = m_all.at(m_rows.at(i)); // at(): no copy of the shared lists
        if (now.id != before.id)
            prefix = false;
        else if (!(now == before))
            changed.append(i);
    }
    if (!prefix) {
        beginResetModel();
        m_all = all;
        m_rows = rows;
        endResetModel();
        return;
    }
    const qsizetype added = rows.size() - old;
    if (added > 0)
        beginInsertRows(QModelIndex(), 0, int(added - 1)); // newest first: new rows on top
    m_all = all;
    m_rows = rows;
    if (added > 0)
        endInsertRows();
    for (const qsizetype i : changed) {
        const QModelIndex row = index(int(m_rows.size() - 1 - i));
        Q_EMIT dataChanged(row, row);
    }
    // The message that used to open the newest day may no longer do so.
    if (added > 0 && old > 0) {
        const QModelIndex row = index(int(added));
        Q_EMIT dataChanged(row, row, { SeparatorRole });
    }
}

int ConversationModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
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
        // A bubble lays out a preview of a long text; partText() hands out more on demand.
        for (const QString &key : { QStringLiteral("text"), QStringLiteral("code"), QStringLiteral("json"),
                 QStringLiteral("args"), QStringLiteral("result"), QStringLiteral("raw") }) {
            const auto it = map.find(key);
            if (it == map.end() || it->typeId() != QMetaType::QString)
                continue;
            const QString whole = it->toString();
            if (whole.size() <= Format::PreviewLimit::bubble)
                continue;
            *it = Format::preview(whole, Format::PreviewLimit::bubble);
            map.insert(QStringLiteral("length"), whole.size());
        }
        out.append(map);
    }
    return out;
}

QVariant ConversationModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Message &m = messageAt(index.row());
    switch (role) {
    case IdRole:
        return m.id;
    case OutgoingRole:
        return m.direction == QLatin1String("out");
    case TypeRole:
        return m.type;
    case PartsRole:
        return partsOf(m);
    case TimeRole: {
        const auto millis = MessageTime::parse(m.createdAt);
        return millis ? QDateTime::fromMSecsSinceEpoch(qint64(*millis)).toString(QStringLiteral("HH:mm")) : QString();
    }
    case SeparatorRole: {
        const int olderRow = index.row() + 1;
        if (olderRow < m_rows.size() && Format::dayKey(messageAt(olderRow).createdAt) == Format::dayKey(m.createdAt))
            return QString();
        return Format::daySeparator(m.createdAt);
    }
    case StatusRole:
        return m.status.value_or(QString());
    case SpokenRole: {
        const QString who = m.direction == QLatin1String("out") ? QStringLiteral("我") : QStringLiteral("@") + m.peer;
        const QString time = data(index, TimeRole).toString();
        return QStringLiteral("%1，%2：%3").arg(who, time, ContentNormalizer::preview(m.type, m.content));
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> ConversationModel::roleNames() const
{
    return { { IdRole, "messageId" }, { OutgoingRole, "outgoing" }, { TypeRole, "messageType" }, { PartsRole, "parts" },
        { TimeRole, "time" }, { SeparatorRole, "separator" }, { StatusRole, "status" }, { SpokenRole, "spoken" } };
}

void ConversationModel::refreshDayLabels()
{
    if (!m_rows.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(m_rows.size() - 1)), { SeparatorRole });
}

QString ConversationModel::partText(const QString &messageId, int part, int chars) const
{
    for (const qsizetype row : m_rows) {
        const Message &m = m_all.at(row);
        if (m.id != messageId)
            continue;
        const QList<ContentPart> parts = ContentNormalizer::parts(m.content);
        if (part < 0 || part >= parts.size())
            return QString();
        const QVariantMap map = ContentNormalizer::toVariantMap(parts[part]);
        for (const char *key : { "text", "code", "json", "args", "result", "raw" }) {
            const QVariant value = map.value(QLatin1String(key));
            if (value.typeId() == QMetaType::QString)
                return Format::preview(value.toString(), chars);
        }
        return QString();
    }
    return QString();
}
