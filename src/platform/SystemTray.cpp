#include "platform/SystemTray.h"

#include "alerts/MonogramAvatar.h"
#include "core/Log.h"

#include <QApplication>
#include <QCursor>
#include <QPainter>
#include <QPainterPath>
#include <QSystemTrayIcon>
#include <QTimer>

namespace {

QString menuText(QString text)
{
    // A lone '&' would become a mnemonic and vanish.
    return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

void drawGeneric(QPainter &p, int size)
{
    // Two overlapping speech bubbles, the app's generic mark.
    const qreal s = size;
    auto bubble = [&](const QRectF &r, bool tailLeft, const QColor &c) {
        QPainterPath path;
        path.addRoundedRect(r, r.height() * 0.3, r.height() * 0.3);
        QPainterPath tail;
        const qreal tx = tailLeft ? r.left() + r.width() * 0.2 : r.right() - r.width() * 0.2;
        tail.moveTo(tx - s * 0.06, r.bottom() - 1);
        tail.lineTo(tx + (tailLeft ? -s * 0.08 : s * 0.08), r.bottom() + s * 0.12);
        tail.lineTo(tx + s * 0.06, r.bottom() - 1);
        tail.closeSubpath();
        p.setBrush(c);
        p.drawPath(path.united(tail));
    };
    p.setPen(QPen(Qt::white, qMax(1.0, s / 32.0)));
    bubble(QRectF(s * 0.04, s * 0.12, s * 0.62, s * 0.44), true, MonogramAvatar::brandGreen());
    bubble(QRectF(s * 0.34, s * 0.38, s * 0.62, s * 0.44), false, MonogramAvatar::brandGreen().darker(140));
}

} // namespace

SystemTray::SystemTray(QObject *parent)
    : QObject(parent)
    , m_menu(std::make_unique<QMenu>())
{
    connect(m_menu.get(), &QMenu::aboutToShow, this, &SystemTray::rebuildMenu);
    // Deferred and coalesced: the row that asks for a rebuild may be the action being
    // triggered right now, and a burst of messages needs one rebuild, not one each.
    m_rebuild.setSingleShot(true);
    m_rebuild.setInterval(rebuildDelayMs);
    connect(&m_rebuild, &QTimer::timeout, this, &SystemTray::rebuildMenu);
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        Log::emit(Log::Category::menubar, QStringLiteral("menubar: no widget application — tray icon disabled"));
        return;
    }
    m_available = QSystemTrayIcon::isSystemTrayAvailable();
    if (!m_available) {
        // Qt adds the icon by itself if a host shows up later.
        Log::emit(Log::Category::menubar,
            QStringLiteral("menubar: no system tray host on platform %1 — tray icon disabled until one appears")
                .arg(QGuiApplication::platformName()));
    }
    m_icon = new QSystemTrayIcon(this);
    m_icon->setToolTip(QStringLiteral("Quillmote"));
    m_icon->setContextMenu(m_menu.get());
    connect(m_icon.data(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // A click shows the same menu as the context click, like a menu-bar item does.
        if (reason == QSystemTrayIcon::Trigger) {
            rebuildMenu();
            m_menu->popup(QCursor::pos());
        }
    });
    // Under X11 Qt embeds the icon by itself once a host appears, so it is shown regardless.
    m_shown = m_available || QGuiApplication::platformName() == QLatin1String("xcb");
    setIcon({}); // before show(): Qt refuses to show an icon without a picture
    if (m_shown)
        m_icon->show();
    if (m_available)
        Log::emit(Log::Category::menubar, QStringLiteral("menubar: tray icon shown"));
}

SystemTray::~SystemTray()
{
    delete m_icon.data();
}

bool SystemTray::isAvailable() const
{
    return m_available;
}

QImage SystemTray::drawIcon(const TrayIconState &state, int size)
{
    QImage img;
    if (state.sender.isEmpty()) {
        img = QImage(size, size, QImage::Format_ARGB32_Premultiplied);
        img.fill(Qt::transparent);
        QPainter p(&img);
        p.setRenderHint(QPainter::Antialiasing);
        drawGeneric(p, size);
    } else {
        img = MonogramAvatar::image(state.sender, size, state.badge);
    }
    if (state.dimmed) {
        QImage dim(img.size(), QImage::Format_ARGB32_Premultiplied);
        dim.fill(Qt::transparent);
        QPainter p(&dim);
        p.setOpacity(0.35);
        p.drawImage(0, 0, img);
        p.end();
        img = dim;
    }
    return img;
}

void SystemTray::setIcon(const TrayIconState &state)
{
    m_state = state;
    if (m_icon && m_shown) {
        m_icon->setIcon(QIcon(QPixmap::fromImage(drawIcon(state))));
        m_icon->setToolTip(
            state.badge > 0 ? QStringLiteral("Quillmote · %1 条未读").arg(state.badge) : QStringLiteral("Quillmote"));
    }
    // Hosts that read the exported menu without opening it must see current rows.
    if (!m_menu->isVisible())
        scheduleRebuild();
}

void SystemTray::setMenuSource(std::function<QList<MenuEntry>()> source)
{
    m_source = std::move(source);
    scheduleRebuild();
}

void SystemTray::refreshMenu()
{
    scheduleRebuild();
}

void SystemTray::scheduleRebuild()
{
    if (!m_rebuild.isActive())
        m_rebuild.start();
}

void SystemTray::rebuildMenu()
{
    m_rebuild.stop();
    if (!m_source)
        return;
    m_menu->clear();
    for (QMenu *sub : m_menu->findChildren<QMenu *>(Qt::FindDirectChildrenOnly))
        sub->deleteLater();
    fill(m_menu.get(), m_source());
}

void SystemTray::fill(QMenu *menu, const QList<MenuEntry> &rows)
{
    for (const MenuEntry &row : rows) {
        switch (row.kind) {
        case MenuEntry::Kind::Separator:
            menu->addSeparator();
            break;
        case MenuEntry::Kind::Header: {
            QAction *a = menu->addAction(menuText(row.text));
            a->setEnabled(false);
            QFont f = a->font();
            f.setBold(true);
            a->setFont(f);
            break;
        }
        case MenuEntry::Kind::Submenu: {
            auto *sub = new QMenu(menuText(row.text), menu);
            if (!row.iconName.isEmpty())
                sub->setIcon(QIcon::fromTheme(row.iconName));
            fill(sub, row.children);
            menu->addMenu(sub);
            break;
        }
        case MenuEntry::Kind::Item: {
            QString text = row.text;
            if (!row.subtitle.isEmpty())
                text += QStringLiteral(" — ") + row.subtitle;
            if (row.emphasized)
                text = QStringLiteral("● ") + text;
            QAction *a = menu->addAction(menuText(text));
            a->setEnabled(row.enabled);
            if (row.emphasized) {
                QFont f = a->font();
                f.setBold(true);
                a->setFont(f);
            }
            if (row.checkable) {
                a->setCheckable(true);
                a->setChecked(row.checked);
            }
            if (!row.iconName.isEmpty())
                a->setIcon(QIcon::fromTheme(row.iconName));
            if (!row.shortcut.isEmpty())
                a->setShortcut(QKeySequence(row.shortcut));
            if (row.trigger)
                QObject::connect(a, &QAction::triggered, menu, [fn = row.trigger] { fn(); });
            break;
        }
        }
    }
}
