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
    setIcon({});
    applyIcon(); // before show(): Qt refuses to show an icon without a picture
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
    if (state == m_state && m_iconSet)
        return;
    m_state = state;
    if (!m_icon || !m_shown)
        return;
    // Drawn after the caller is done: a message's banner goes out before its tray picture is
    // painted and exported, and a burst of changes paints once.
    if (!m_iconPending) {
        m_iconPending = true;
        QMetaObject::invokeMethod(this, &SystemTray::applyIcon, Qt::QueuedConnection);
    }
}

void SystemTray::applyIcon()
{
    m_iconPending = false;
    m_iconSet = true;
    // The pulse alternates two pictures: both are drawn once and then only swapped.
    auto cached = std::find_if(m_pictures.begin(), m_pictures.end(), [&](const auto &p) { return p.first == m_state; });
    if (cached == m_pictures.end()) {
        if (m_pictures.size() >= 2)
            m_pictures.removeFirst();
        m_pictures.append({ m_state, QIcon(QPixmap::fromImage(drawIcon(m_state))) });
        cached = std::prev(m_pictures.end());
    }
    m_icon->setIcon(cached->second);
    const QString tip
        = m_state.badge > 0 ? QStringLiteral("Quillmote · %1 条未读").arg(m_state.badge) : QStringLiteral("Quillmote");
    if (m_icon->toolTip() != tip)
        m_icon->setToolTip(tip);
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
    sync(m_menu.get(), m_source());
}

namespace {

const char kindProperty[] = "qm-kind";

MenuEntry::Kind kindOf(QAction *a)
{
    return MenuEntry::Kind(a->property(kindProperty).toInt());
}

} // namespace

// Updates the menu in place: an action whose row kept its kind keeps its object, and so
// its id in the exported menu; a setter given an unchanged value emits nothing, so a
// refresh with the same rows sends no signal to the host at all.
void SystemTray::sync(QMenu *menu, const QList<MenuEntry> &rows)
{
    const QList<QAction *> existing = menu->actions();
    qsizetype at = 0;
    for (const MenuEntry &row : rows) {
        QAction *a = at < existing.size() ? existing[at] : nullptr;
        if (a && kindOf(a) == row.kind) {
            ++at;
        } else {
            QAction *before = a;
            a = create(menu, row.kind, row.text);
            menu->insertAction(before, a);
        }
        update(a, row);
    }
    for (; at < existing.size(); ++at) {
        QAction *a = existing[at];
        menu->removeAction(a);
        m_triggers.remove(a);
        if (QMenu *sub = a->menu())
            sub->deleteLater();
        a->deleteLater();
    }
}

QAction *SystemTray::create(QMenu *menu, MenuEntry::Kind kind, const QString &text)
{
    QAction *a = nullptr;
    if (kind == MenuEntry::Kind::Submenu) {
        a = (new QMenu(menuText(text), menu))->menuAction();
    } else {
        a = new QAction(menu);
        a->setSeparator(kind == MenuEntry::Kind::Separator);
        connect(a, &QAction::triggered, this, [this, a] {
            if (const auto fn = m_triggers.value(a))
                fn();
        });
    }
    a->setProperty(kindProperty, int(kind));
    return a;
}

void SystemTray::update(QAction *a, const MenuEntry &row)
{
    switch (row.kind) {
    case MenuEntry::Kind::Separator:
        return;
    case MenuEntry::Kind::Header: {
        a->setText(menuText(row.text));
        a->setEnabled(false);
        QFont f = a->font();
        f.setBold(true);
        a->setFont(f);
        return;
    }
    case MenuEntry::Kind::Submenu:
        a->setText(menuText(row.text));
        if (!row.iconName.isEmpty() && a->icon().name() != row.iconName)
            a->setIcon(QIcon::fromTheme(row.iconName));
        sync(a->menu(), row.children);
        return;
    case MenuEntry::Kind::Item: {
        QString text = row.text;
        if (!row.subtitle.isEmpty())
            text += QStringLiteral(" — ") + row.subtitle;
        if (row.emphasized)
            text = QStringLiteral("● ") + text;
        a->setText(menuText(text));
        a->setEnabled(row.enabled);
        QFont f = a->font();
        f.setBold(row.emphasized);
        a->setFont(f);
        a->setCheckable(row.checkable);
        a->setChecked(row.checkable && row.checked);
        if (a->icon().name() != row.iconName)
            a->setIcon(row.iconName.isEmpty() ? QIcon() : QIcon::fromTheme(row.iconName));
        const QKeySequence keys(row.shortcut);
        if (a->shortcut() != keys)
            a->setShortcut(keys);
        m_triggers.insert(a, row.trigger);
        return;
    }
    }
}
