#pragma once

#include "alerts/TrayPort.h"

#include <QHash>
#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QTimer>

class QSystemTrayIcon;

// The tray icon on Linux: QSystemTrayIcon (a StatusNotifierItem over D-Bus where the
// desktop has a host, XEmbed otherwise) with a QMenu brought up to date with the logic's
// rows when it opens and when the rows change, in place, so exported ids stay stable. Badge and pulse are painted into
// the icon itself, because Qt exports the item with a fixed status and no overlay.
class SystemTray : public QObject, public TrayPort
{
    Q_OBJECT
public:
    explicit SystemTray(QObject *parent = nullptr);
    ~SystemTray() override;

    bool isAvailable() const override;
    void setIcon(const TrayIconState &state) override;
    void setMenuSource(std::function<QList<MenuEntry>()> source) override;
    void refreshMenu() override;

    QMenu *menu() { return m_menu.get(); }
    // The icon as last drawn (for screenshots and tests).
    QImage currentImage() const { return drawIcon(m_state); }

    static QImage drawIcon(const TrayIconState &state, int size = 64);

private:
    void rebuildMenu();
    void applyIcon();
    // Hosts that read the exported menu without opening it see rows at most this old.
    static constexpr int rebuildDelayMs = 100;
    void scheduleRebuild();
    void sync(QMenu *menu, const QList<MenuEntry> &rows);
    QAction *create(QMenu *menu, MenuEntry::Kind kind, const QString &text);
    void update(QAction *action, const MenuEntry &row);

    std::unique_ptr<QMenu> m_menu;
    QPointer<QSystemTrayIcon> m_icon;
    std::function<QList<MenuEntry>()> m_source;
    QHash<QAction *, std::function<void()>> m_triggers;
    TrayIconState m_state;
    bool m_iconSet = false;
    bool m_iconPending = false;
    QList<std::pair<TrayIconState, QIcon>> m_pictures;
    QTimer m_rebuild;
    bool m_available = false;
    bool m_shown = false; // pictures are drawn only for an icon that can be seen
};
