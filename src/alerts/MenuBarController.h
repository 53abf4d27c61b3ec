#pragma once

#include "alerts/MenuEntry.h"
#include "alerts/TrayPort.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <optional>

// One message listed in the tray menu.
struct RecentItem {
    QString sender;
    QString title;
    QString body;
    bool read = false;
    QDateTime receivedAt;
};

// The tray icon and its menu: recent messages, the unread count (in memory only, 0 at
// every launch), quick switches and the app commands. Fed by the message fan-out.
class MenuBarController : public QObject
{
    Q_OBJECT
public:
    static constexpr int maxRecents = 12;
    static constexpr int pulseIntervalMs = 600;

    explicit MenuBarController(TrayPort &tray, QObject *parent = nullptr);

    void addMessage(const QString &sender, const QString &title, const QString &body);
    void markRead(const QString &sender);
    void clearAll();

    int unread() const { return m_unread; }
    const QList<RecentItem> &recents() const { return m_recents; }
    std::optional<QString> lastSender() const { return m_lastSender; }
    bool isPulsing() const { return m_blink.isActive(); }

    // The menu's rows as they would show if it opened now.
    QList<MenuEntry> buildMenu();

    // Menu actions.
    void openApp();
    void openPreferences();
    void openRecent(const QString &sender);
    void quit();

    // "刚刚", "N 分钟前", "N 小时前", "N 天前".
    static QString relativeTime(const QDateTime &then, const QDateTime &now);

    // Tests replace the clock.
    void setClock(std::function<QDateTime()> now) { m_now = std::move(now); }

Q_SIGNALS:
    void openPreferencesRequested();
    void openAppRequested();
    void openSenderRequested(const QString &sender);

private:
    void updateIcon();
    void startIconAttention();
    void stopIconAttention();
    void pulseStep();

    TrayPort &m_tray;
    QList<RecentItem> m_recents;
    int m_unread = 0;
    QTimer m_blink;
    bool m_dimmed = false;
    std::optional<QString> m_lastSender;
    std::function<QDateTime()> m_now;
};
