#pragma once

#include <QAbstractListModel>

class AppState;

// The sidebar's rows for QML: AppState's filtered sessions with their display texts.
class SessionListModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role { PeerRole = Qt::UserRole + 1, TitleRole, InitialsRole, PreviewRole, ListTimeRole, UnreadRole };

    explicit SessionListModel(AppState *state, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    AppState *m_state;
};
