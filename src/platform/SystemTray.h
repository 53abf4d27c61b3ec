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
// desktop has a host, XEmbed otherwise) with a QMenu rebuilt from the logic's rows each
// time it opens. Badge and pulse are painted into the icon itself, because Qt exports
// the item with a fixed status and no overlay.
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
    // Hosts that read the exported menu without opening it see rows at most this old.
    static constexpr int rebuildDelayMs = 100;
    void scheduleRebuild();
    static void fill(QMenu *menu, const QList<MenuEntry> &rows);

    std::unique_ptr<QMenu> m_menu;
    QPointer<QSystemTrayIcon> m_icon;
    std::function<QList<MenuEntry>()> m_source;
    TrayIconState m_state;
    QTimer m_rebuild;
    bool m_available = false;
    bool m_shown = false; // pictures are drawn only for an icon that can be seen
};
