#include "alerts/NotchViewModel.h"

#include "alerts/MonogramAvatar.h"
#include "model/Format.h"

NotchViewModel::NotchViewModel(QObject *parent)
    : QObject(parent)
{
}

// The view draws previews; the item keeps the whole texts for copy, fill and reply.
QString NotchViewModel::sender() const
{
    return m_item ? Format::preview(m_item->sender, Format::PreviewLimit::name) : QString();
}
QString NotchViewModel::title() const
{
    return m_item ? Format::preview(m_item->title, Format::PreviewLimit::name) : QString();
}
QString NotchViewModel::body() const
{
    return m_item ? Format::preview(m_item->body, Format::PreviewLimit::overlay) : QString();
}
bool NotchViewModel::hasCode() const
{
    return m_item && m_item->codeText.has_value();
}
QString NotchViewModel::codeText() const
{
    return m_item ? Format::preview(m_item->codeText.value_or(QString()), Format::PreviewLimit::overlay) : QString();
}

QString NotchViewModel::initials() const
{
    return m_item ? MonogramAvatar::initials(sender()) : QString();
}

QString NotchViewModel::avatarColor() const
{
    return MonogramAvatar::handleColor(m_item ? m_item->sender : QString()).name();
}

QString NotchViewModel::accessibleLabel() const
{
    if (!m_item)
        return QStringLiteral("Quillmote 新消息，");
    return QStringLiteral("Quillmote 新消息，%1：%2").arg(title(), Format::preview(m_item->body, 120));
}

QString NotchViewModel::stateName(NotchState state)
{
    switch (state) {
    case NotchState::hidden:
        return QStringLiteral("hidden");
    case NotchState::compact:
        return QStringLiteral("compact");
    case NotchState::expanded:
        return QStringLiteral("expanded");
    }
    return {};
}

QString NotchViewModel::stateName() const
{
    return stateName(m_state);
}

// The strip hugs the top edge with small top corners; the card rounds more below.
qreal NotchViewModel::topRadius() const
{
    return m_state == NotchState::expanded ? 10 : 6;
}
qreal NotchViewModel::bottomRadius() const
{
    return m_state == NotchState::expanded ? 22 : 16;
}

void NotchViewModel::setItem(const std::optional<NotchItem> &item)
{
    if (m_item == item)
        return;
    m_item = item;
    Q_EMIT itemChanged();
}

void NotchViewModel::setMotion(NotchMotion &slot, const NotchMotion &motion)
{
    if (slot == motion)
        return;
    slot = motion;
    Q_EMIT motionChanged();
}

void NotchViewModel::setState(NotchState state, const NotchMotion &motion)
{
    // The motion is published first: the view's animation reads it when the state changes.
    setMotion(m_stateMotion, motion);
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT stateChanged();
}

void NotchViewModel::setUnread(int unread)
{
    if (m_unread == unread)
        return;
    m_unread = unread;
    Q_EMIT countsChanged();
}

void NotchViewModel::setQueued(int queued)
{
    if (m_queued == queued)
        return;
    m_queued = queued;
    Q_EMIT countsChanged();
}

void NotchViewModel::setIsPulse(bool pulse)
{
    if (m_isPulse == pulse)
        return;
    m_isPulse = pulse;
    Q_EMIT countsChanged();
}

void NotchViewModel::setGeometry(bool hasNotch, qreal notchWidth, qreal notchHeight)
{
    if (m_hasNotch == hasNotch && m_notchWidth == notchWidth && m_notchHeight == notchHeight)
        return;
    m_hasNotch = hasNotch;
    m_notchWidth = notchWidth;
    m_notchHeight = notchHeight;
    Q_EMIT geometryChanged();
}

void NotchViewModel::setReplyText(const QString &text)
{
    if (m_replyText == text)
        return;
    m_replyText = text;
    Q_EMIT replyTextChanged();
}

void NotchViewModel::setReplyVisible(bool visible, const NotchMotion &motion)
{
    setMotion(m_replyMotion, motion);
    if (m_replyVisible == visible)
        return;
    m_replyVisible = visible;
    Q_EMIT replyVisibleChanged();
}

void NotchViewModel::setFeedback(const std::optional<QString> &text, const NotchMotion &motion)
{
    setMotion(m_feedbackMotion, motion);
    if (m_feedback == text)
        return;
    m_feedback = text;
    Q_EMIT feedbackChanged();
}

void NotchViewModel::setReduceMotion(bool reduce)
{
    if (m_reduceMotion == reduce)
        return;
    m_reduceMotion = reduce;
    Q_EMIT motionChanged();
}

void NotchViewModel::action(const QString &name, const QString &text)
{
    const auto parsed = NotchAction::fromName(name, text);
    if (parsed)
        Q_EMIT actionRaised(*parsed);
}

void NotchViewModel::hoverChanged(bool inside)
{
    Q_EMIT hoverReported(inside);
}

void NotchViewModel::contentSize(qreal width, qreal height)
{
    Q_EMIT contentSizeReported(width, height);
}
