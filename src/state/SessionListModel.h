#pragma once

#include <QAbstractListModel>

class AppState;

// The sidebar's rows for QML: AppState's filtered sessions with their display texts.
// A new state or search changes the rows in place (removals, moves, insertions, changed
// texts), never by a reset, so the list keeps its scroll position and current row.
class SessionListModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role {
        PeerRole = Qt::UserRole + 1,
        TitleRole,
        InitialsRole,
        PreviewRole,
        ListTimeRole,
        UnreadRole,
        SpokenRole, // the row for a screen reader: "@alice，3 条未读"
    };

    explicit SessionListModel(AppState *state, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row of a peer, or -1.
    Q_INVOKABLE int rowOf(const QString &peer) const;

    // Brings the rows in line with AppState; times are written relative to now, so a new
    // day calls this too.
    void update();

private:
    struct Row {
        QString peer;
        QString preview;
        QString listTime;
        bool operator==(const Row &) const = default;
    };

    AppState *m_state;
    QList<Row> m_rows;
};
