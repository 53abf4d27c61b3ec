#include "state/SessionListModel.h"

#include "model/Format.h"
#include "state/AppState.h"

SessionListModel::SessionListModel(AppState *state, QObject *parent)
    : QAbstractListModel(parent)
    , m_state(state)
{
    connect(m_state, &AppState::filteredSessionsChanged, this, [this] {
        beginResetModel();
        endResetModel();
    });
    connect(m_state, &AppState::unreadChanged, this, [this] {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0), index(rowCount() - 1), { UnreadRole });
    });
}

int SessionListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_state->filteredSessions().size());
}

QVariant SessionListModel::data(const QModelIndex &index, int role) const
{
    const auto &sessions = m_state->filteredSessions();
    if (!index.isValid() || index.row() >= sessions.size())
        return {};
    const Session &s = sessions[index.row()];
    switch (role) {
    case PeerRole:
        return s.peer;
    case Qt::DisplayRole:
    case TitleRole:
        return QStringLiteral("@") + Format::preview(s.peer, Format::PreviewLimit::name);
    case InitialsRole:
        return s.peer.left(1).toUpper();
    case PreviewRole:
        // One elided line: the row never lays out more than its start.
        return Format::preview(m_state->preview(s.peer), Format::PreviewLimit::name);
    case ListTimeRole:
        return s.last ? Format::listTime(s.last->createdAt) : QString();
    case UnreadRole:
        return m_state->unreadCount(s.peer);
    default:
        return {};
    }
}

QHash<int, QByteArray> SessionListModel::roleNames() const
{
    return { { PeerRole, "peer" }, { TitleRole, "title" }, { InitialsRole, "initials" }, { PreviewRole, "preview" },
        { ListTimeRole, "listTime" }, { UnreadRole, "unread" } };
}
