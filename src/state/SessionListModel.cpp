#include "state/SessionListModel.h"

#include "core/Characters.h"
#include "model/Format.h"
#include "state/AppState.h"

#include <algorithm>

SessionListModel::SessionListModel(AppState *state, QObject *parent)
    : QAbstractListModel(parent)
    , m_state(state)
{
    connect(m_state, &AppState::filteredSessionsChanged, this, &SessionListModel::update);
    connect(m_state, &AppState::unreadChanged, this, [this] {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0), index(rowCount() - 1), { UnreadRole, SpokenRole });
    });
    update();
}

void SessionListModel::update()
{
    QList<Row> next;
    const auto &sessions = m_state->filteredSessions();
    next.reserve(sessions.size());
    for (const Session &s : sessions)
        // One elided line: the row never lays out more than its start.
        next.append({ s.peer, Format::preview(m_state->preview(s.peer), Format::PreviewLimit::name),
            s.last ? Format::listTime(s.last->createdAt) : QString() });

    // Rows whose peer is gone leave first, from the end so the indices stay valid.
    for (qsizetype i = m_rows.size() - 1; i >= 0; --i) {
        const QString &peer = m_rows[i].peer;
        if (std::none_of(next.cbegin(), next.cend(), [&](const Row &r) { return r.peer == peer; })) {
            beginRemoveRows({}, int(i), int(i));
            m_rows.removeAt(i);
            endRemoveRows();
        }
    }
    // Then each position gets its row: already there, moved up from below, or new.
    for (qsizetype i = 0; i < next.size(); ++i) {
        const QString &peer = next[i].peer;
        const auto below = std::find_if(
            m_rows.cbegin() + std::min(i, m_rows.size()), m_rows.cend(), [&](const Row &r) { return r.peer == peer; });
        if (below == m_rows.cend()) {
            beginInsertRows({}, int(i), int(i));
            m_rows.insert(i, next[i]);
            endInsertRows();
            continue;
        }
        if (const qsizetype from = below - m_rows.cbegin(); from != i) {
            beginMoveRows({}, int(from), int(from), {}, int(i));
            m_rows.move(from, i);
            endMoveRows();
        }
        if (!(m_rows[i] == next[i])) {
            m_rows[i] = next[i];
            Q_EMIT dataChanged(index(int(i)), index(int(i)));
        }
    }
}

int SessionListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant SessionListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows[index.row()];
    switch (role) {
    case PeerRole:
        return row.peer;
    case Qt::DisplayRole:
    case TitleRole:
        return QStringLiteral("@") + Format::preview(row.peer, Format::PreviewLimit::name);
    case InitialsRole:
        return Characters::initials(row.peer);
    case PreviewRole:
        return row.preview;
    case ListTimeRole:
        return row.listTime;
    case UnreadRole:
        return m_state->unreadCount(row.peer);
    case SpokenRole: {
        const int unread = m_state->unreadCount(row.peer);
        const QString who = QStringLiteral("@") + Format::preview(row.peer, Format::PreviewLimit::name);
        return unread > 0 ? QStringLiteral("%1，%2 条未读").arg(who).arg(unread) : who;
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> SessionListModel::roleNames() const
{
    return { { PeerRole, "peer" }, { TitleRole, "title" }, { InitialsRole, "initials" }, { PreviewRole, "preview" },
        { ListTimeRole, "listTime" }, { UnreadRole, "unread" }, { SpokenRole, "spoken" } };
}

int SessionListModel::rowOf(const QString &peer) const
{
    for (qsizetype i = 0; i < m_rows.size(); ++i)
        if (m_rows[i].peer == peer)
            return int(i);
    return -1;
}
