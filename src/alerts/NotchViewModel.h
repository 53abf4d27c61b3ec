#pragma once

#include "alerts/NotchAction.h"
#include "alerts/NotchItem.h"
#include "alerts/NotchMotion.h"

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

// What the notch overlay shows, between NotchController (which decides everything) and the
// QML view (which only draws it). The controller writes every field; the view writes only
// replyText and reports actions, hover and its content size through the three callbacks.
// Every change of state, reply field and feedback comes with the motion the controller
// chose for it, so the view animates exactly what changed, with the controller's timing.
class NotchViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool hasItem READ hasItem NOTIFY itemChanged)
    Q_PROPERTY(QString sender READ sender NOTIFY itemChanged)
    Q_PROPERTY(QString title READ title NOTIFY itemChanged)
    Q_PROPERTY(QString body READ body NOTIFY itemChanged)
    Q_PROPERTY(bool hasCode READ hasCode NOTIFY itemChanged)
    Q_PROPERTY(QString codeText READ codeText NOTIFY itemChanged)
    Q_PROPERTY(QString initials READ initials NOTIFY itemChanged)
    Q_PROPERTY(QString avatarColor READ avatarColor NOTIFY itemChanged)
    Q_PROPERTY(QString accessibleLabel READ accessibleLabel NOTIFY itemChanged)
    Q_PROPERTY(QString stateName READ stateName NOTIFY stateChanged)
    Q_PROPERTY(qreal topRadius READ topRadius NOTIFY stateChanged)
    Q_PROPERTY(qreal bottomRadius READ bottomRadius NOTIFY stateChanged)
    Q_PROPERTY(int unread READ unread NOTIFY countsChanged)
    Q_PROPERTY(int queued READ queued NOTIFY countsChanged)
    Q_PROPERTY(bool isPulse READ isPulse NOTIFY countsChanged)
    Q_PROPERTY(bool hasNotch READ hasNotch NOTIFY geometryChanged)
    Q_PROPERTY(qreal notchWidth READ notchWidth NOTIFY geometryChanged)
    Q_PROPERTY(qreal notchHeight READ notchHeight NOTIFY geometryChanged)
    Q_PROPERTY(QString replyText READ replyText WRITE setReplyText NOTIFY replyTextChanged)
    Q_PROPERTY(bool replyVisible READ replyVisible NOTIFY replyVisibleChanged)
    Q_PROPERTY(QString feedback READ feedbackText NOTIFY feedbackChanged)
    Q_PROPERTY(bool hasFeedback READ hasFeedback NOTIFY feedbackChanged)
    Q_PROPERTY(NotchMotion stateMotion READ stateMotion NOTIFY motionChanged)
    Q_PROPERTY(NotchMotion replyMotion READ replyMotion NOTIFY motionChanged)
    Q_PROPERTY(NotchMotion feedbackMotion READ feedbackMotion NOTIFY motionChanged)
    Q_PROPERTY(bool reduceMotion READ reduceMotion NOTIFY motionChanged)

public:
    explicit NotchViewModel(QObject *parent = nullptr);

    const std::optional<NotchItem> &item() const { return m_item; }
    bool hasItem() const { return m_item.has_value(); }
    QString sender() const;
    QString title() const;
    QString body() const;
    bool hasCode() const;
    QString codeText() const;
    QString initials() const;
    QString avatarColor() const;
    QString accessibleLabel() const;

    NotchState state() const { return m_state; }
    QString stateName() const;
    qreal topRadius() const;
    qreal bottomRadius() const;
    int unread() const { return m_unread; }
    int queued() const { return m_queued; }
    bool isPulse() const { return m_isPulse; }
    bool hasNotch() const { return m_hasNotch; }
    qreal notchWidth() const { return m_notchWidth; }
    qreal notchHeight() const { return m_notchHeight; }
    QString replyText() const { return m_replyText; }
    bool replyVisible() const { return m_replyVisible; }
    const std::optional<QString> &feedback() const { return m_feedback; }
    QString feedbackText() const { return m_feedback.value_or(QString()); }
    bool hasFeedback() const { return m_feedback.has_value(); }
    NotchMotion stateMotion() const { return m_stateMotion; }
    NotchMotion replyMotion() const { return m_replyMotion; }
    NotchMotion feedbackMotion() const { return m_feedbackMotion; }
    bool reduceMotion() const { return m_reduceMotion; }

    // Written by the controller.
    void setItem(const std::optional<NotchItem> &item);
    void setState(NotchState state, const NotchMotion &motion);
    void setUnread(int unread);
    void setQueued(int queued);
    void setIsPulse(bool pulse);
    void setGeometry(bool hasNotch, qreal notchWidth, qreal notchHeight);
    void setReplyText(const QString &text); // also the view's two-way binding
    void setReplyVisible(bool visible, const NotchMotion &motion);
    void setFeedback(const std::optional<QString> &text, const NotchMotion &motion);
    void setReduceMotion(bool reduce);

    // Raised by the view.
    Q_INVOKABLE void action(const QString &name, const QString &text = QString());
    Q_INVOKABLE void hoverChanged(bool inside);
    Q_INVOKABLE void contentSize(qreal width, qreal height);

    static QString stateName(NotchState state);

Q_SIGNALS:
    void itemChanged();
    void stateChanged();
    void countsChanged();
    void geometryChanged();
    void replyTextChanged();
    void replyVisibleChanged();
    void feedbackChanged();
    void motionChanged();
    // What the view raised, for the controller.
    void actionRaised(const NotchAction &action);
    void hoverReported(bool inside);
    void contentSizeReported(qreal width, qreal height);

private:
    void setMotion(NotchMotion &slot, const NotchMotion &motion);

    std::optional<NotchItem> m_item;
    NotchState m_state = NotchState::hidden;
    int m_unread = 0;
    int m_queued = 0;
    bool m_isPulse = false;
    bool m_hasNotch = false;
    qreal m_notchWidth = 196;
    qreal m_notchHeight = 32;
    QString m_replyText;
    bool m_replyVisible = false;
    std::optional<QString> m_feedback;
    NotchMotion m_stateMotion;
    NotchMotion m_replyMotion;
    NotchMotion m_feedbackMotion;
    bool m_reduceMotion = false;
};
