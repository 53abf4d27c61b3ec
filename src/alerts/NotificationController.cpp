#include "alerts/NotificationController.h"

#include "alerts/MonogramAvatar.h"
#include "core/SettingsStore.h"
#include "model/Format.h"

#include <QMetaMethod>
#include <QPointer>

namespace {
constexpr int avatarSize = 64;
const QString kCategory = QStringLiteral("im.received");
} // namespace

NotificationController::NotificationController(NotificationsPort &port, QObject *parent)
    : QObject(parent)
    , m_port(port)
{
    connect(&m_port, &NotificationsPort::actionChosen, this, &NotificationController::handleAction);
    connect(&m_port, &NotificationsPort::replyTyped, this, &NotificationController::handleReplied);
    connect(&m_port, &NotificationsPort::bannerClosed, this, &NotificationController::handleClosed);
    connect(&m_port, &NotificationsPort::serverChanged, this, &NotificationController::serverChanged);
}

void NotificationController::serverChanged(bool present)
{
    // Ids of a server that went away mean nothing to the next one.
    forgetAll();
    if (present) {
        // Our own first question starts a bus-activated server: its answer is on the way.
        if (m_probing) {
            m_appearedWhileProbing = true;
            return;
        }
        log(QStringLiteral("notifications: server appeared on the bus — asking it again"));
        probe();
    } else {
        m_state = State::disabled;
        log(QStringLiteral("notifications: server left the bus — banners disabled until it returns"));
    }
}

void NotificationController::log(const QString &text)
{
    Q_EMIT logged(text);
}

void NotificationController::bootstrap()
{
    probe();
}

void NotificationController::probe()
{
    const QPointer<NotificationController> self(this);
    m_probing = true;
    m_port.probe([self](const ServerInfo &info) {
        if (!self)
            return;
        self->m_probing = false;
        // The server we asked went away and another came while we waited: ask that one.
        if (!info.available && std::exchange(self->m_appearedWhileProbing, false)) {
            self->probe();
            return;
        }
        self->m_appearedWhileProbing = false;
        self->m_server = info;
        if (!info.available) {
            self->m_state = State::disabled;
            self->m_waiting.clear();
            self->log(QStringLiteral("notifications: authorization error: ") + info.error);
            return;
        }
        self->m_state = State::enabled;
        self->log(QStringLiteral("notifications: authorization granted"));
        self->log(QStringLiteral("notifications: server %1 %2 (%3)")
                      .arg(info.name, info.version, info.capabilities.join(QLatin1Char(','))));
        const QList<Waiting> waiting = std::exchange(self->m_waiting, {});
        for (const Waiting &w : waiting)
            self->present(w.frame, w.urgency);
    });
}

QList<QPair<QString, QString>> NotificationController::actions(bool withReply) const
{
    QList<QPair<QString, QString>> list { { QString::fromLatin1(defaultAction), QStringLiteral("打开") },
        { QString::fromLatin1(openAction), QStringLiteral("打开") } };
    if (withReply) {
        if (hasInlineReply())
            list.append({ QString::fromLatin1(inlineReplyAction), QStringLiteral("回复") });
        else
            list.append({ QString::fromLatin1(replyAction), QStringLiteral("回复") });
    }
    return list;
}

QString NotificationController::bodyText(const QString &text) const
{
    // A banner shows a few lines; the whole text stays with the frame. Servers with body
    // markup would read "<" and "&" in a message as tags (and fetch an <img>'s source), so
    // the cut text is escaped, never the other way round, which could split an entity.
    const QString shown = Format::preview(text, Format::PreviewLimit::banner);
    return m_server.has(QStringLiteral("body-markup")) ? shown.toHtmlEscaped() : shown;
}

QString NotificationController::summaryOf(const NotifyFrame &frame)
{
    // The sender first: a title alone does not say who wrote.
    const QString who = QStringLiteral("@") + Format::preview(frame.sender, Format::PreviewLimit::name);
    const QString title = Format::preview(frame.title.value_or(QString()).trimmed(), Format::PreviewLimit::name);
    return title.isEmpty() ? who : who + QStringLiteral(" · ") + title;
}

Banner NotificationController::messageBanner(const NotifyFrame &frame, Banner::Urgency urgency)
{
    Banner b;
    // Summaries carry no markup on any notification server; they are shown as they are.
    b.summary = summaryOf(frame);
    b.body = bodyText(frame.body);
    b.category = kCategory;
    b.suppressSound = true;
    b.actions = actions(true);
    if (hasInlineReply()) {
        b.replyPlaceholder = QStringLiteral("输入回复…");
        b.replySubmitLabel = QStringLiteral("发送");
    }
    b.urgency = urgency;
    if (SettingsStore::flag(SettingsStore::Key::commNotifications)) {
        b.image = MonogramAvatar::image(frame.sender, avatarSize);
        if (b.image.isNull())
            log(QStringLiteral("comms-notif: avatar unavailable — plain banner"));
        else
            log(QStringLiteral("comms-notif: enriched banner from @") + frame.sender);
    }
    return b;
}

void NotificationController::present(const NotifyFrame &frame, Banner::Urgency urgency)
{
    switch (m_state) {
    case State::disabled:
        return;
    case State::unknown:
        if (m_waiting.size() < maxWaiting)
            m_waiting.append({ frame, urgency });
        return;
    case State::enabled:
        break;
    }
    const Banner banner = messageBanner(frame, urgency);
    Shown shown { frame.sender, frame.msgId, banner.summary, frame };
    if (shown.msgId && shown.msgId->isEmpty())
        shown.msgId.reset();
    send(banner, shown);
}

void NotificationController::presentNotice(const QString &summary, const QString &body, bool failed)
{
    if (m_state != State::enabled) {
        log(QStringLiteral("notifications: no server — answer of \"%1\" not shown").arg(summary));
        return;
    }
    Banner b;
    b.summary = summary;
    b.body = bodyText(body);
    b.category = failed ? QStringLiteral("x-quillmote.action.error") : QStringLiteral("x-quillmote.action");
    const QPointer<NotificationController> self(this);
    m_port.post(b, [self](quint32 id, const QString &error) {
        if (self && id == 0)
            self->log(QStringLiteral("notifications: add failed: ") + error);
    });
}

void NotificationController::send(Banner banner, const Shown &shown)
{
    const QString key = shown.msgId.value_or(QString());
    if (!key.isEmpty()) {
        auto flight = m_inFlight.find(key);
        if (flight != m_inFlight.end()) {
            // The server has not told us the id of the banner to replace yet.
            *flight = Pending { banner, shown };
            return;
        }
        if (const auto known = m_idByMsg.constFind(key); known != m_idByMsg.cend())
            banner.replacesId = *known;
        m_inFlight.insert(key, std::nullopt);
    }
    const quint32 oldId = banner.replacesId;
    const QPointer<NotificationController> self(this);
    m_port.post(banner, [self, key, oldId, shown](quint32 id, const QString &error) {
        if (self)
            self->posted(key, oldId, id, error, shown);
    });
}

void NotificationController::posted(
    const QString &key, quint32 oldId, quint32 id, const QString &error, const Shown &shown)
{
    std::optional<Pending> next;
    if (!key.isEmpty())
        next = m_inFlight.take(key);
    if (id == 0) {
        log(QStringLiteral("notifications: add failed: ") + error);
    } else {
        if (oldId != 0 && oldId != id)
            m_byId.remove(oldId);
        m_byId.insert(id, shown);
        if (!key.isEmpty())
            m_idByMsg.insert(key, id);
    }
    if (next)
        send(next->banner, next->shown);
}

std::optional<bool> NotificationController::dispatch(
    const QString &actionId, const QString &sender, const QString &msgId, const QString &text)
{
    if (actionId == QLatin1String(openAction) || actionId == QLatin1String(defaultAction)) {
        Q_EMIT openRequested(sender);
        return std::nullopt;
    }
    if (actionId != QLatin1String(replyAction))
        return std::nullopt;
    const QString trimmed = text.trimmed();
    if (sender.isEmpty()) {
        log(QStringLiteral("reply: missing sender — dropped"));
        return std::nullopt;
    }
    if (trimmed.isEmpty()) {
        log(QStringLiteral("reply: empty text from ") + sender);
        return std::nullopt;
    }
    ReplyFrame frame { sender, trimmed, msgId.isEmpty() ? std::nullopt : std::optional<QString>(msgId) };
    return onReply ? onReply(frame) : false;
}

void NotificationController::handleAction(quint32 id, const QString &key)
{
    // The signal reaches every client of the server: ids we did not post are not ours.
    const auto it = m_byId.constFind(id);
    if (it == m_byId.cend())
        return;
    const Shown shown = *it;
    if (key == QLatin1String(replyAction)) {
        if (isSignalConnected(QMetaMethod::fromSignal(&NotificationController::replyFieldRequested)))
            Q_EMIT replyFieldRequested(shown.frame);
        else
            log(QStringLiteral("reply: no reply field to open for @") + shown.sender);
        return;
    }
    dispatch(key, shown.sender, shown.msgId.value_or(QString()), QString());
}

void NotificationController::handleReplied(quint32 id, const QString &text)
{
    const auto it = m_byId.constFind(id);
    if (it == m_byId.cend())
        return;
    const Shown shown = *it;
    const std::optional<bool> delivered
        = dispatch(QString::fromLatin1(replyAction), shown.sender, shown.msgId.value_or(QString()), text);
    if (!delivered || m_state != State::enabled)
        return;

    // The banner becomes the outcome, so the user sees whether any terminal took it.
    Banner b;
    b.summary = shown.title;
    b.category = kCategory;
    b.replacesId = id;
    if (*delivered) {
        b.body = QStringLiteral("已回复 ✓");
        b.urgency = Banner::Urgency::low;
        b.actions = actions(false);
    } else {
        b.body = QStringLiteral("终端未连接，未发送") + QLatin1Char('\n') + bodyText(text.trimmed());
        b.actions = actions(true);
        if (hasInlineReply()) {
            b.replyPlaceholder = QStringLiteral("输入回复…");
            b.replySubmitLabel = QStringLiteral("发送");
        }
    }
    if (shown.msgId) {
        send(b, shown);
    } else {
        const QPointer<NotificationController> self(this);
        m_port.post(b, [self, id, shown](quint32 newId, const QString &error) {
            if (self)
                self->posted(QString(), id, newId, error, shown);
        });
    }
}

void NotificationController::handleClosed(quint32 id)
{
    const auto it = m_byId.find(id);
    if (it == m_byId.end())
        return;
    if (it->msgId && m_idByMsg.value(*it->msgId) == id)
        m_idByMsg.remove(*it->msgId);
    m_byId.erase(it);
}

void NotificationController::forgetAll()
{
    m_byId.clear();
    m_idByMsg.clear();
    m_inFlight.clear();
}
