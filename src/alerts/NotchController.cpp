#include "alerts/NotchController.h"

#include "core/Characters.h"
#include "core/Log.h"

#include <QDateTime>
#include <QPointer>

namespace {
constexpr double kFollowUpAfterClose = 0.32;
constexpr double kFeedbackShown = 1.5;
constexpr double kSoundDebounce = 0.8;
const auto kNoId = QStringLiteral("<no-id>");
} // namespace

NotchController::NotchController(NotchPorts ports, QObject *parent)
    : QObject(parent)
    , m_ports(std::move(ports))
{
    m_debugForceExpanded = qgetenv("QUILLMOTE_NOTCH_DEBUG") == "1";
    m_model.setReduceMotion(reduceMotion());
    connect(&m_model, &NotchViewModel::actionRaised, this, &NotchController::handle);
    connect(&m_model, &NotchViewModel::hoverReported, this, &NotchController::hoverChanged);
    connect(&m_model, &NotchViewModel::contentSizeReported, this, &NotchController::contentSizeChanged);
    if (m_ports.screens)
        connect(m_ports.screens.get(), &ScreenSource::changed, this, &NotchController::screensChanged);
}

NotchController::~NotchController()
{
    if (m_ports.scheduler) {
        m_ports.scheduler->cancel(m_dismissTask);
        m_ports.scheduler->cancel(m_feedbackTask);
    }
    // The panel's view observes the model: it goes first.
    m_panel.reset();
}

void NotchController::log(const QString &line)
{
    Q_EMIT logged(line);
}

QString NotchController::idOf(const NotchItem &item) const
{
    return item.msgId.value_or(kNoId);
}

bool NotchController::reduceMotion() const
{
    return m_ports.motion && m_ports.motion->reduceMotion();
}

Scheduler::TaskId NotchController::after(double seconds, std::function<void()> task)
{
    return m_ports.scheduler->schedule(seconds, [self = QPointer<NotchController>(this), task = std::move(task)] {
        if (self)
            task();
    });
}

std::optional<NotchScreen> NotchController::targetScreen() const
{
    if (!m_ports.screens)
        return std::nullopt;
    const ScreenSource &source = *m_ports.screens;
    return NotchGeometry::targetScreen(
        source.screens(), { source.focusedIndex(), source.pointerIndex(), source.primaryIndex() });
}

NotchItem NotchController::makeItem(const NotifyFrame &frame) const
{
    NotchItem item;
    item.sender = frame.sender;
    item.title = frame.title.value_or(QStringLiteral("@") + frame.sender);
    item.body = frame.body;
    if (frame.codeText && !frame.codeText->isEmpty())
        item.codeText = frame.codeText;
    item.msgId = frame.msgId;
    item.at = QDateTime::currentDateTimeUtc();
    return item;
}

void NotchController::present(const NotifyFrame &frame, int unread, const Alert &alert)
{
    // Any screen will do to accept the frame; which one shows it is asked (of the window
    // system) only when it is shown.
    if (!m_ports.screens || m_ports.screens->screens().isEmpty())
        return;
    playArrivalSound(alert);
    const NotchItem item = makeItem(frame);
    const bool pulse = alert.overlay == Alert::Overlay::pulse;

    if ((m_model.state() != NotchState::hidden || !m_queue.empty()) && !m_debugForceExpanded) {
        m_queue.push_back({ item, unread, pulse });
        m_model.setQueued(int(m_queue.size()));
        log(QStringLiteral("notch: queued (%1 waiting) %2 from @%3").arg(m_queue.size()).arg(idOf(item), item.sender));
        return;
    }
    if (const auto screen = targetScreen())
        showItem(item, unread, pulse, *screen);
}

bool NotchController::openReply(const NotifyFrame &frame, int unread)
{
    const auto screen = targetScreen();
    if (!screen) {
        log(QStringLiteral("notch: reply from banner dropped, no screen"));
        return false;
    }
    const NotchItem item = makeItem(frame);
    // Every message is shown exactly once: the one being replied to leaves the queue, and
    // another one on show goes back to its head, to be shown again once the reply is done.
    if (item.msgId) {
        std::erase_if(m_queue, [&](const Pending &p) { return p.item.msgId == item.msgId; });
    }
    const auto &shown = m_model.item();
    if (m_model.state() != NotchState::hidden && shown && !(item.msgId && shown->msgId == item.msgId))
        m_queue.push_front({ *shown, m_model.unread(), m_model.isPulse() });
    configureGeometry(*screen);
    m_model.setItem(item);
    m_model.setUnread(unread);
    m_model.setIsPulse(false);
    m_model.setFeedback(std::nullopt, NotchMotion {});
    m_model.setQueued(int(m_queue.size()));
    m_model.setReplyText(QString());
    ensurePanel();
    if (m_panel)
        m_panel->orderFront(
            NotchGeometry::panelFrame(m_measure, NotchGeometry::estimatedCompactSize(m_measure, false)));
    m_pinned = true;
    cancelDismiss();
    m_model.setState(NotchState::expanded, NotchMotion::appear(reduceMotion()));
    setReplyVisible(true);
    log(QStringLiteral("notch: reply (banner) %1 from @%2").arg(idOf(item), item.sender));
    return true;
}

void NotchController::configureGeometry(const NotchScreen &screen)
{
    m_measure = NotchGeometry::measure(screen);
    m_screenName = screen.name;
    m_model.setGeometry(m_measure.hasNotch, m_measure.notchWidth, m_measure.notchHeight);
}

void NotchController::ensurePanel()
{
    if (!m_panel && m_ports.makePanel)
        m_panel = m_ports.makePanel(m_model);
}

void NotchController::showItem(const NotchItem &item, int unread, bool pulse, const NotchScreen &screen)
{
    configureGeometry(screen);
    m_model.setItem(item);
    m_model.setUnread(unread);
    m_model.setIsPulse(pulse);
    m_model.setFeedback(std::nullopt, NotchMotion {});
    m_model.setQueued(int(m_queue.size()));
    if (m_model.state() == NotchState::hidden) {
        m_model.setReplyText(QString());
        setReplyVisible(false);
        m_pinned = false;
    }
    ensurePanel();
    if (m_panel)
        m_panel->orderFront(
            NotchGeometry::panelFrame(m_measure, NotchGeometry::estimatedCompactSize(m_measure, pulse)));
    m_model.setReduceMotion(reduceMotion());

    if (!m_debugForceExpanded) {
        if (m_model.state() == NotchState::hidden)
            m_model.setState(NotchState::compact, NotchMotion::appear(reduceMotion()));
        scheduleDismiss(!m_queue.empty() ? 6 : pulse ? 8 : notchPersistBackstop);
    } else {
        cancelDismiss();
        m_model.setState(NotchState::expanded, NotchMotion::expand(reduceMotion()));
        log(QStringLiteral("notch: DEBUG forced expanded, auto-dismiss off (QUILLMOTE_NOTCH_DEBUG=1)"));
    }
    log(QStringLiteral("notch: %1 %2 from @%3")
            .arg(pulse ? QStringLiteral("pulse") : QStringLiteral("show"), idOf(item), item.sender));
}

void NotchController::scheduleDismiss(double seconds)
{
    cancelDismiss();
    m_dismissDelay = seconds;
    m_dismissTask = after(seconds, [this] {
        m_dismissTask = 0;
        dismissNow();
    });
}

void NotchController::cancelDismiss()
{
    if (m_dismissTask)
        m_ports.scheduler->cancel(m_dismissTask);
    m_dismissTask = 0;
}

std::optional<double> NotchController::pendingDismissDelay() const
{
    if (!m_dismissTask)
        return std::nullopt;
    return m_dismissDelay;
}

void NotchController::dismissNow()
{
    if (m_model.state() == NotchState::hidden)
        return;
    m_pinned = false;
    m_model.setState(NotchState::hidden, NotchMotion::close(reduceMotion()));
    setReplyVisible(false);
    after(kFollowUpAfterClose, [this] { afterClose(); });
}

void NotchController::afterClose()
{
    if (m_model.state() != NotchState::hidden)
        return;
    if (!m_queue.empty()) {
        if (const auto screen = targetScreen()) {
            const Pending next = m_queue.front();
            m_queue.pop_front();
            showItem(next.item, next.unread, next.pulse, *screen);
            return;
        }
    }
    // With no screen the waiting entries stay queued; nothing shows them again until
    // the app restarts.
    if (m_panel)
        m_panel->orderOut();
    m_lastContentSize.reset();
    m_model.setQueued(0);
}

void NotchController::hoverChanged(bool inside)
{
    if (m_model.state() == NotchState::hidden)
        return;
    if (inside) {
        cancelDismiss();
        if (m_model.state() == NotchState::compact)
            m_model.setState(NotchState::expanded, NotchMotion::expand(reduceMotion()));
        return;
    }
    if (m_pinned || m_model.replyVisible())
        return;
    if (m_model.state() == NotchState::expanded)
        m_model.setState(NotchState::compact, NotchMotion::expand(reduceMotion()));
    scheduleDismiss(!m_queue.empty() ? 4 : m_model.isPulse() ? 4 : notchPersistBackstop);
}

void NotchController::setReplyVisible(bool visible)
{
    const bool changed = m_model.replyVisible() != visible;
    m_model.setReplyVisible(visible, NotchMotion::expand(reduceMotion()));
    if (changed && m_panel)
        m_panel->setKeyboardFocus(visible);
}

void NotchController::handle(const NotchAction &action)
{
    if (!m_model.item())
        return;
    const NotchItem item = *m_model.item();
    const QString id = idOf(item);
    using K = NotchAction::Kind;
    switch (action.kind) {
    case K::expand:
        // A click on the compact strip. The open card is where the user reads, copies and
        // types: a click there must not pin it or stretch a short close to 45 s.
        if (m_model.state() != NotchState::compact || m_model.replyVisible())
            break;
        m_pinned = true;
        cancelDismiss();
        if (m_model.state() != NotchState::expanded)
            m_model.setState(NotchState::expanded, NotchMotion::expand(reduceMotion()));
        scheduleDismiss(45);
        log(QStringLiteral("notch: expand+pin (click) ") + id);
        break;
    case K::dismiss:
        log(QStringLiteral("notch: dismiss (red dot) ") + id);
        dismissNow();
        break;
    case K::copyBody:
        if (m_ports.pasteboard)
            m_ports.pasteboard->copyConcealed(item.body);
        flashFeedback(QStringLiteral("已复制"));
        log(QStringLiteral("notch: copy body ") + id);
        break;
    case K::copyCode:
        if (!item.codeText)
            break;
        if (m_ports.pasteboard)
            m_ports.pasteboard->copyConcealed(*item.codeText);
        flashFeedback(QStringLiteral("代码已复制"));
        log(QStringLiteral("notch: copy code (%1 chars) %2").arg(Characters::count(*item.codeText)).arg(id));
        break;
    case K::beginReply:
        cancelDismiss();
        setReplyVisible(true);
        break;
    case K::cancelReply:
        m_model.setReplyText(QString());
        setReplyVisible(false);
        scheduleDismiss(2.5);
        log(QStringLiteral("notch: reply cancelled (esc) ") + id);
        break;
    case K::fill: {
        const QString text = item.codeText.value_or(item.body);
        const bool delivered = onFill && onFill(FillFrame { text, item.msgId });
        if (delivered) {
            flashFeedback(QStringLiteral("已发送到终端 ⤵"));
            scheduleDismiss(1.6);
        } else {
            flashFeedback(QStringLiteral("终端未连接"));
            scheduleDismiss(3);
        }
        log(QStringLiteral("notch: fill (user-initiated, %1 chars, delivered=%2) %3")
                .arg(Characters::count(text))
                .arg(delivered ? QStringLiteral("true") : QStringLiteral("false"), id));
        break;
    }
    case K::submitReply: {
        if (action.text.isEmpty())
            break;
        const bool delivered = onReply && onReply(ReplyFrame { item.sender, action.text, item.msgId });
        if (delivered) {
            m_model.setReplyText(QString());
            setReplyVisible(false);
            flashFeedback(QStringLiteral("已回复 ✓"));
            scheduleDismiss(1.4);
        } else {
            flashFeedback(QStringLiteral("终端未连接，未发送"));
            cancelDismiss();
            scheduleDismiss(4);
            log(QStringLiteral("notch: reply NOT delivered (no client connected) ") + id);
        }
        break;
    }
    case K::openApp:
        log(QStringLiteral("notch: openApp → @") + item.sender);
        Q_EMIT openAppRequested(item.sender);
        dismissNow();
        break;
    }
}

void NotchController::flashFeedback(const QString &text)
{
    m_model.setFeedback(text, NotchMotion::easeOut(0.12));
    if (m_feedbackTask)
        m_ports.scheduler->cancel(m_feedbackTask);
    m_feedbackTask = after(kFeedbackShown, [this] {
        m_feedbackTask = 0;
        m_model.setFeedback(std::nullopt, NotchMotion::easeOut(0.2));
    });
}

void NotchController::playArrivalSound(const Alert &alert)
{
    if (!alert.chime) {
        if (alert.heldBack)
            Log::debug(
                Log::Category::notch, QStringLiteral("notch: chime held back (do-not-disturb, no breakthrough)"));
        return;
    }
    const double now = m_ports.scheduler->now();
    if (m_lastSoundAt && now - *m_lastSoundAt <= kSoundDebounce)
        return;
    m_lastSoundAt = now;
    if (m_ports.sound) {
        Log::debug(Log::Category::notch, QStringLiteral("notch: chime"));
        m_ports.sound->playArrival();
    }
}

void NotchController::contentSizeChanged(qreal width, qreal height)
{
    const QSizeF size(width, height);
    if (m_lastContentSize == size)
        return;
    m_lastContentSize = size;
    if (m_panel && width > 1 && height > 1)
        m_panel->setFrame(NotchGeometry::panelFrame(m_measure, size));
}

// A screen came, went or changed while the overlay shows: it stays on its screen if that is
// still there (refitted to its new geometry), else it moves to where a new message would go.
void NotchController::screensChanged()
{
    if (!m_panel || !m_panel->isVisible())
        return;
    std::optional<NotchScreen> screen;
    for (const NotchScreen &s : m_ports.screens->screens()) {
        if (s.name == m_screenName)
            screen = s;
    }
    if (!screen)
        screen = targetScreen();
    if (!screen)
        return;
    configureGeometry(*screen);
    const QSizeF size = m_lastContentSize && m_lastContentSize->width() > 1 && m_lastContentSize->height() > 1
        ? *m_lastContentSize
        : NotchGeometry::estimatedCompactSize(m_measure, m_model.isPulse());
    m_panel->setFrame(NotchGeometry::panelFrame(m_measure, size));
    log(QStringLiteral("notch: screens changed — refitted on %1").arg(m_screenName));
}
