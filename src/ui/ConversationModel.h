#pragma once

#include "model/PanelState.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

class AppState;
class ContentImageProvider;

// One conversation's messages for the detail pane, newest first (the list view grows
// upwards, so opening a conversation lands on its newest message without laying out the
// rest). Rows are cheap: a bubble's parts, times and separator are worked out only when a
// delegate asks for them, and the messages stay AppState's, so opening a conversation of
// 100k messages copies nothing.
class ConversationModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The main view model owns the conversation")
    Q_PROPERTY(QString peer READ peer NOTIFY peerChanged)
public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        OutgoingRole,
        TypeRole,
        PartsRole, // list of ContentNormalizer::toVariantMap, images as "source" URLs, long
                   // texts as a preview plus their whole "length"
        TimeRole, // "HH:mm"
        SeparatorRole, // the day label when the message opens a day, else ""
        StatusRole, // "queued", "sent", "delivered", "read", "failed" or ""
        SpokenRole, // the bubble for a screen reader: who, when and the preview
    };

    ConversationModel(AppState &state, ContentImageProvider *images, QObject *parent = nullptr);

    const QString &peer() const { return m_peer; }
    // Shows the conversation with peer ("" for none).
    void setPeer(const QString &peer);
    // The day labels are relative to today ("今天", "昨天"): a new day rewrites them.
    void refreshDayLabels();

    // Up to `chars` characters of a part whose preview was cut ("length" in its map),
    // for a bubble that shows more on demand.
    Q_INVOKABLE QString partText(const QString &messageId, int part, int chars) const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void peerChanged();

private:
    void reload();
    const Message &messageAt(int row) const { return m_all[m_rows[m_rows.size() - 1 - row]]; }
    QVariantList partsOf(const Message &message) const;

    AppState &m_state;
    ContentImageProvider *m_images;
    QString m_peer;
    // The document's messages (shared with AppState, never copied) and the rows of this
    // conversation among them, oldest first.
    QList<Message> m_all;
    QList<qsizetype> m_rows;
};
