#include "alerts/MenuBarController.h"

#include "core/Log.h"
#include "core/SettingsStore.h"
#include "model/Format.h"

#include <QCoreApplication>

MenuBarController::MenuBarController(TrayPort &tray, QObject *parent)
    : QObject(parent)
    , m_tray(tray)
    , m_now([] { return QDateTime::currentDateTimeUtc(); })
{
    m_blink.setInterval(pulseIntervalMs);
    connect(&m_blink, &QTimer::timeout, this, &MenuBarController::pulseStep);
    m_tray.setMenuSource([this] { return buildMenu(); });
    updateIcon();
}

void MenuBarController::addMessage(const QString &sender, const QString &title, const QString &body)
{
    ++m_unread;
    m_recents.prepend(RecentItem { sender, title, body, false, m_now() });
    while (m_recents.size() > maxRecents)
        m_recents.removeLast();
    m_lastSender = sender;
    updateIcon();
    m_tray.refreshMenu();
    startIconAttention();
    Log::emit(Log::Category::menubar, QStringLiteral("menubar: add @%1 unread=%2").arg(sender).arg(m_unread));
}

void MenuBarController::markRead(const QString &sender)
{
    for (RecentItem &item : m_recents) {
        if (item.sender == sender && !item.read) {
            item.read = true;
            break;
        }
    }
    // The count is kept apart from the list: a message that fell off the list still counts.
    m_unread = qMax(0, m_unread - 1);
    if (m_unread == 0)
        stopIconAttention();
    updateIcon();
    m_tray.refreshMenu();
    Log::emit(Log::Category::menubar, QStringLiteral("menubar: markRead @%1 unread=%2").arg(sender).arg(m_unread));
}

void MenuBarController::clearAll()
{
    m_unread = 0;
    m_lastSender.reset();
    for (RecentItem &item : m_recents)
        item.read = true;
    stopIconAttention();
    updateIcon();
    m_tray.refreshMenu();
    Log::emit(Log::Category::menubar, QStringLiteral("menubar: clear (unread reset)"));
}

void MenuBarController::updateIcon()
{
    TrayIconState state;
    if (m_unread >= 1 && m_lastSender) {
        state.sender = *m_lastSender;
        state.badge = m_unread;
    }
    state.dimmed = m_dimmed;
    m_tray.setIcon(state);
}

void MenuBarController::startIconAttention()
{
    if (m_blink.isActive())
        return;
    m_blink.start();
}

void MenuBarController::stopIconAttention()
{
    m_blink.stop();
    m_dimmed = false;
}

// Only the icon changes: the menu's rows and their ids stay as they are.
void MenuBarController::pulseStep()
{
    m_dimmed = !m_dimmed;
    updateIcon();
}

QString MenuBarController::relativeTime(const QDateTime &then, const QDateTime &now)
{
    const qint64 secs = qMax<qint64>(0, then.secsTo(now));
    if (secs < 60)
        return QStringLiteral("刚刚");
    if (secs < 3600)
        return QStringLiteral("%1 分钟前").arg(secs / 60);
    if (secs < 86400)
        return QStringLiteral("%1 小时前").arg(secs / 3600);
    return QStringLiteral("%1 天前").arg(secs / 86400);
}

QList<MenuEntry> MenuBarController::buildMenu()
{
    QList<MenuEntry> rows;
    rows << MenuEntry::header(
        m_unread > 0 ? QStringLiteral("最近消息 · %1 条未读").arg(m_unread) : QStringLiteral("最近消息 · 无未读"));

    const QDateTime now = m_now();
    for (const RecentItem &item : m_recents) {
        MenuEntry e;
        e.text = Format::oneLine(item.title, 40);
        e.subtitle = Format::oneLine(item.body, Format::PreviewLimit::menuRow) + QStringLiteral(" · ")
            + relativeTime(item.receivedAt, now);
        e.emphasized = !item.read;
        const QString sender = item.sender;
        e.trigger = [this, sender] { openRecent(sender); };
        rows << e;
    }
    if (m_recents.isEmpty()) {
        MenuEntry none;
        none.text = QStringLiteral("暂无新消息");
        none.enabled = false;
        rows << none;
    }

    MenuEntry clear;
    clear.text = QStringLiteral("清除全部");
    clear.trigger = [this] { clearAll(); };
    rows << clear << MenuEntry::separator();

    MenuEntry quick;
    quick.kind = MenuEntry::Kind::Submenu;
    quick.text = QStringLiteral("快捷开关");
    quick.iconName = QStringLiteral("preferences-other");
    const char *group = nullptr;
    for (const SettingsStore::Switch &s : SettingsStore::switches) {
        if (!s.inTray)
            continue;
        if (!group || qstrcmp(group, s.group) != 0)
            quick.children << MenuEntry::header(QString::fromUtf8(s.group));
        group = s.group;
        MenuEntry e;
        e.text = QString::fromUtf8(s.label);
        e.iconName = QString::fromUtf8(s.icon);
        e.checkable = true;
        e.checked = SettingsStore::flag(s.key);
        e.trigger = [this, key = s.key] {
            SettingsStore::toggle(key);
            m_tray.refreshMenu();
        };
        quick.children << e;
    }
    rows << quick << MenuEntry::separator();

    auto command = [this](const QString &text, const QString &keys, void (MenuBarController::*fn)()) {
        MenuEntry e;
        e.text = text;
        e.shortcut = keys;
        e.trigger = [this, fn] { (this->*fn)(); };
        return e;
    };
    rows << command(QStringLiteral("打开 Quillmote"), QStringLiteral("Ctrl+0"), &MenuBarController::openApp)
         << command(QStringLiteral("偏好设置…"), QStringLiteral("Ctrl+,"), &MenuBarController::openPreferences)
         << command(QStringLiteral("退出 Quillmote"), QStringLiteral("Ctrl+Q"), &MenuBarController::quit);
    return rows;
}

void MenuBarController::openApp()
{
    Q_EMIT openAppRequested();
}

void MenuBarController::openPreferences()
{
    Q_EMIT openPreferencesRequested();
}

void MenuBarController::openRecent(const QString &sender)
{
    Q_EMIT openSenderRequested(sender);
}

void MenuBarController::quit()
{
    QCoreApplication::quit();
}
