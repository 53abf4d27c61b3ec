#pragma once

#include "alerts/NotificationsPort.h"
#include "ipc/Frames.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

// Posts a desktop banner for each message that is not silenced, lets the user open the
// conversation or reply from it, and hands opens and replies back to the app controller.
// Server ids are mapped back to the message they show, so a repeated msgId replaces its
// banner and an action on a banner reaches the right sender.
class NotificationController : public QObject
{
    Q_OBJECT
public:
    static constexpr auto replyAction = "QUILLMOTE_REPLY";
    static constexpr auto openAction = "QUILLMOTE_OPEN";
    static constexpr auto defaultAction = "default";
    static constexpr auto inlineReplyAction = "inline-reply";
    // Messages that arrive while the server is still being asked wait at most this many.
    static constexpr int maxWaiting = 64;

    explicit NotificationController(NotificationsPort &port, QObject *parent = nullptr);

    // Asks the server what it can do; banners stay off when there is none, and come back
    // on by themselves when a server appears or restarts.
    void bootstrap();
    // Posts the banner at the urgency the alert policy chose.
    void present(const NotifyFrame &frame, Banner::Urgency urgency);
    // A banner that only tells something (a desktop action's answer): no reply, no
    // avatar. Dropped with a log line while banners are off.
    void presentNotice(const QString &summary, const QString &body, bool failed);

    // An action on a banner. Returns whether a reply went out to a terminal, or nothing
    // when the action sent no reply.
    std::optional<bool> dispatch(
        const QString &actionId, const QString &sender, const QString &msgId, const QString &text);

    // The banner's first line: "@alice", or "@alice · title" when the message has a title.
    static QString summaryOf(const NotifyFrame &frame);

    bool isEnabled() const { return m_state == State::enabled; }
    bool hasInlineReply() const { return m_server.has(QStringLiteral("inline-reply")); }
    // Banners the controller still knows by server id (open on screen, as far as it knows).
    int trackedBanners() const { return int(m_byId.size()); }

    // Sends a reply typed in a banner; returns whether a terminal took it.
    std::function<bool(const ReplyFrame &)> onReply;

Q_SIGNALS:
    void openRequested(const QString &sender);
    // Servers without an inline reply field: open the overlay's reply field for the
    // message the banner shows.
    void replyFieldRequested(const NotifyFrame &frame);
    void logged(const QString &line);

private:
    enum class State { unknown, enabled, disabled };
    struct Shown {
        QString sender;
        std::optional<QString> msgId;
        QString title;
        NotifyFrame frame;
    };
    struct Pending {
        Banner banner;
        Shown shown;
    };
    struct Waiting {
        NotifyFrame frame;
        Banner::Urgency urgency;
    };

    void log(const QString &text);
    void probe();
    Banner messageBanner(const NotifyFrame &frame, Banner::Urgency urgency);
    QList<QPair<QString, QString>> actions(bool withReply) const;
    QString bodyText(const QString &text) const;
    void send(Banner banner, const Shown &shown);
    void posted(const QString &key, quint32 oldId, quint32 id, const QString &error, const Shown &shown);
    void handleAction(quint32 id, const QString &key);
    void handleReplied(quint32 id, const QString &text);
    void handleClosed(quint32 id);
    void serverChanged(bool present);
    void forgetAll();

    NotificationsPort &m_port;
    State m_state = State::unknown;
    bool m_probing = false;
    bool m_appearedWhileProbing = false;
    ServerInfo m_server;
    QList<Waiting> m_waiting;
    QHash<quint32, Shown> m_byId;
    QHash<QString, quint32> m_idByMsg;
    // A msgId whose post is under way, and the newer banner for it that must wait for its id.
    QHash<QString, std::optional<Pending>> m_inFlight;
};
