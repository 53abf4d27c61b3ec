#include "ui/ViewWindow.h"

#include "core/Log.h"
#include "core/SettingsStore.h"
#include "ui/QmlViews.h"
#include "ui/Theme.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

#include <cmath>

ViewWindow::ViewWindow(const Setup &setup, QObject *parent)
    : QObject(parent)
    , m_setup(setup)
    , m_view(std::make_unique<QQuickView>())
{
    m_view->setTitle(setup.title);
    m_view->setMinimumSize(setup.minimumSize);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setColor(Theme::instance()->window());
    connect(Theme::instance(), &Theme::changed, this, [this] { m_view->setColor(Theme::instance()->window()); });

    QRect frame(QPoint(0, 0), setup.size);
    const auto saved = SettingsStore::value(setup.autosaveKey);
    const QRect savedRect = saved ? saved->toRect() : QRect();
    if (savedRect.isValid() && savedRect.width() >= setup.minimumSize.width()
        && savedRect.height() >= setup.minimumSize.height()) {
        frame = savedRect;
    } else if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        frame.moveCenter(screen->availableGeometry().center());
    }
    m_view->setGeometry(frame);

    m_view->installEventFilter(this);
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(500);
    connect(&m_saveTimer, &QTimer::timeout, this, &ViewWindow::saveGeometry);
}

ViewWindow::~ViewWindow()
{
    if (m_saveTimer.isActive())
        saveGeometry();
}

void ViewWindow::load(const QVariantMap &properties)
{
    const QStringList errors = QmlViews::load(*m_view, m_setup.view, properties);
    if (!errors.isEmpty()) {
        Log::error(Log::Category::mainwindow,
            m_setup.view + QStringLiteral(": view failed to load: ") + errors.join(QStringLiteral("; ")));
    }
}

QQuickWindow *ViewWindow::window() const
{
    return m_view.get();
}

QQmlEngine *ViewWindow::engine() const
{
    return m_view->engine();
}

void ViewWindow::bringToFront()
{
    if (m_view->windowState() & Qt::WindowMinimized)
        m_view->setWindowStates(m_view->windowStates() & ~Qt::WindowMinimized);
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
}

void ViewWindow::fitHeightToContent()
{
    QQuickItem *root = m_view->rootObject();
    if (!root)
        return;
    connect(root, &QQuickItem::implicitHeightChanged, this, &ViewWindow::applyContentHeight, Qt::UniqueConnection);
    applyContentHeight();
}

void ViewWindow::applyContentHeight()
{
    const QQuickItem *root = m_view->rootObject();
    int wanted = int(std::ceil(root->implicitHeight()));
    if (const QScreen *screen = m_view->screen())
        wanted = qMin(wanted, screen->availableGeometry().height() - 48);
    if (wanted <= 0)
        return;
    m_view->setMinimumHeight(wanted);
    if (m_view->height() < wanted)
        m_view->resize(m_view->width(), wanted);
}

void ViewWindow::saveGeometry()
{
    SettingsStore::setValue(m_setup.autosaveKey, m_view->geometry());
}

bool ViewWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_view.get() && event->type() == QEvent::Close) {
        // Hidden, not destroyed: the next open shows the same window again.
        event->ignore();
        saveGeometry();
        m_view->hide();
        Q_EMIT closed();
        return true;
    }
    if (watched == m_view.get() && (event->type() == QEvent::Move || event->type() == QEvent::Resize)
        && m_view->isVisible())
        m_saveTimer.start();
    return QObject::eventFilter(watched, event);
}
