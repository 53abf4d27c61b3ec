#include "platform/NotchOverlayWindow.h"

#include "alerts/NotchGeometry.h"
#include "alerts/NotchViewModel.h"
#include "core/Log.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QRegion>

NotchOverlayWindow::NotchOverlayWindow(NotchViewModel &model, const ViewLoader &load, QObject *parent)
    : QObject(parent)
    , m_model(model)
    , m_view(std::make_unique<QQuickView>())
{
    const QString platform = QGuiApplication::platformName();
    m_x11 = platform == QLatin1String("xcb");
    Qt::WindowFlags flags
        = Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool | Qt::WindowDoesNotAcceptFocus;
    if (m_x11)
        flags |= Qt::X11BypassWindowManagerHint;
    else if (platform.startsWith(QLatin1String("wayland")))
        Log::info(Log::Category::notch,
            QStringLiteral("notch: Wayland session, the compositor places the overlay (no layer-shell)"));
    m_view->setFlags(flags);
    m_view->setTitle(QStringLiteral("Quillmote"));
    m_view->setColor(Qt::transparent);
    QSurfaceFormat format = m_view->format();
    format.setAlphaBufferSize(8);
    m_view->setFormat(format);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);

    const QStringList errors = load(*m_view, { { QStringLiteral("notch"), QVariant::fromValue(&m_model) } });
    if (!errors.isEmpty()) {
        Log::error(Log::Category::notch,
            QStringLiteral("notch: overlay view failed to load: ") + errors.join(QStringLiteral("; ")));
    }
    connect(&m_model, &NotchViewModel::stateChanged, this, &NotchOverlayWindow::updateMask);
}

NotchOverlayWindow::~NotchOverlayWindow() = default;

void NotchOverlayWindow::applyFrame(const QRect &frame)
{
    m_view->setGeometry(frame);
    updateMask();
}

void NotchOverlayWindow::updateMask()
{
    if (!m_x11)
        return;
    const QSize size = m_view->size();
    const QPainterPath path
        = NotchGeometry::shapePath(QRectF(QPointF(0, 0), size), m_model.topRadius(), m_model.bottomRadius());
    m_view->setMask(QRegion(path.toFillPolygon().toPolygon()));
}

void NotchOverlayWindow::orderFront(const QRect &frame)
{
    applyFrame(frame);
    if (!m_view->isVisible())
        m_view->show();
    m_view->raise();
}

void NotchOverlayWindow::orderOut()
{
    m_view->hide();
}

void NotchOverlayWindow::setFrame(const QRect &frame)
{
    applyFrame(frame);
}

void NotchOverlayWindow::setKeyboardFocus(bool wanted)
{
    m_view->setFlag(Qt::WindowDoesNotAcceptFocus, !wanted);
    if (wanted && m_view->isVisible())
        m_view->requestActivate();
}

bool NotchOverlayWindow::isVisible() const
{
    return m_view->isVisible();
}
