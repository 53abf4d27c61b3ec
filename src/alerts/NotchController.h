#pragma once

#include "alerts/AlertPolicy.h"
#include "alerts/NotchGeometry.h"
#include "alerts/NotchPorts.h"
#include "alerts/NotchViewModel.h"
#include "ipc/Frames.h"

#include <QObject>
#include <QSizeF>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

// Decides everything about the notch overlay: the screen and size, whether a message shows
// at once or waits its turn, when the overlay expands, collapses and closes by itself,
// what each quick action does and what gets reported. Main thread only; every timer runs
// on the Scheduler port and holds the controller weakly (a QPointer).
class NotchController : public QObject
{
    Q_OBJECT
public:
    explicit NotchController(NotchPorts ports, QObject *parent = nullptr);
    ~NotchController() override;

    // Announces one message as the alert policy decided: its card, or only a pulse for a
    // quiet arrival, with or without the chime. `unread` is the count to show.
    void present(const NotifyFrame &frame, int unread, const Alert &alert);
    // Shows this message at once, expanded and pinned, with its reply field open and
    // focused: the "回复" action of a banner on desktops without inline reply. Another
    // message on show goes back to the head of the queue and this one leaves the queue, so
    // each is shown once. False when there is no screen.
    bool openReply(const NotifyFrame &frame, int unread);

    void handle(const NotchAction &action);
    void hoverChanged(bool inside);

    NotchViewModel &model() { return m_model; }
    const NotchViewModel &model() const { return m_model; }
    int queueLength() const { return int(m_queue.size()); }
    bool pinned() const { return m_pinned; }
    bool debugForceExpanded() const { return m_debugForceExpanded; }
    // The running dismiss timer's delay in seconds, if one is running (for tests and logs).
    std::optional<double> pendingDismissDelay() const;

    static constexpr double notchPersistBackstop = 300;

    // Each takes the frame and returns whether a connected terminal received it.
    std::function<bool(const ReplyFrame &)> onReply;
    std::function<bool(const FillFrame &)> onFill;

Q_SIGNALS:
    void openAppRequested(const QString &sender);
    void logged(const QString &line);

private:
    struct Pending {
        NotchItem item;
        int unread = 0;
        bool pulse = false;
    };

    std::optional<NotchScreen> targetScreen() const;
    NotchItem makeItem(const NotifyFrame &frame) const;
    void showItem(const NotchItem &item, int unread, bool pulse, const NotchScreen &screen);
    void configureGeometry(const NotchScreen &screen);
    void ensurePanel();
    void scheduleDismiss(double seconds);
    void cancelDismiss();
    void dismissNow();
    void afterClose();
    void flashFeedback(const QString &text);
    void setReplyVisible(bool visible);
    void playArrivalSound(const Alert &alert);
    void contentSizeChanged(qreal width, qreal height);
    void screensChanged();
    bool reduceMotion() const;
    void log(const QString &line);
    QString idOf(const NotchItem &item) const;
    // Runs `task` after `seconds` unless the controller is gone by then.
    Scheduler::TaskId after(double seconds, std::function<void()> task);

    NotchPorts m_ports;
    NotchViewModel m_model;
    std::unique_ptr<NotchPanel> m_panel;
    Scheduler::TaskId m_dismissTask = 0;
    double m_dismissDelay = 0;
    Scheduler::TaskId m_feedbackTask = 0;
    NotchGeometry::Measure m_measure;
    QString m_screenName; // the screen the overlay was last fitted to
    std::optional<QSizeF> m_lastContentSize;
    std::deque<Pending> m_queue;
    std::optional<double> m_lastSoundAt; // none: the distant past
    bool m_pinned = false;
    bool m_debugForceExpanded = false;
};
