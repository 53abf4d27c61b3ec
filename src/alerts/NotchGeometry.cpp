#include "alerts/NotchGeometry.h"

#include <algorithm>
#include <cmath>

namespace NotchGeometry {

std::optional<NotchScreen> targetScreen(const QList<NotchScreen> &screens, const Attention &attention)
{
    for (const NotchScreen &s : screens) {
        if (s.topInset > 0)
            return s;
    }
    for (const int index : { attention.focused, attention.pointer, attention.primary }) {
        if (index >= 0 && index < screens.size())
            return screens.at(index);
    }
    if (!screens.isEmpty())
        return screens.first();
    return std::nullopt;
}

Measure measure(const NotchScreen &screen)
{
    Measure m;
    const double inset = screen.topInset;
    m.hasNotch = inset > 0;
    m.notchHeight = inset > 0 ? inset : 30;
    if (screen.auxLeftWidth && screen.auxRightWidth)
        m.notchWidth = std::max(screen.frame.width() - *screen.auxLeftWidth - *screen.auxRightWidth, 120.0);
    else
        m.notchWidth = 196;
    m.screenMidX = screen.frame.x() + screen.frame.width() / 2.0;
    m.screenTopY = m.hasNotch ? screen.frame.top() : screen.available.top() + 4;
    return m;
}

QSizeF estimatedCompactSize(const Measure &m, bool pulse)
{
    if (m.hasNotch) {
        const double wing = pulse ? 60 : 190;
        return { wing + m.notchWidth + 60 + 56, m.notchHeight + 8 + 28 };
    }
    return { pulse ? 150.0 : 340.0, 68.0 };
}

QRect panelFrame(const Measure &m, QSizeF size)
{
    return QRect(int(std::lround(m.screenMidX - size.width() * 0.5)), int(std::lround(m.screenTopY)),
        int(std::ceil(size.width())), int(std::ceil(size.height())));
}

QPainterPath shapePath(const QRectF &r, double topRadius, double bottomRadius)
{
    const double half = std::min(r.width(), r.height()) * 0.5;
    const double t = std::min(topRadius, half);
    const double b = std::min(bottomRadius, half);
    QPainterPath p;
    p.moveTo(r.left() + t, r.top());
    p.lineTo(r.right() - t, r.top());
    p.quadTo(QPointF(r.right(), r.top()), QPointF(r.right(), r.top() + t));
    p.lineTo(r.right(), r.bottom() - b);
    p.quadTo(QPointF(r.right(), r.bottom()), QPointF(r.right() - b, r.bottom()));
    p.lineTo(r.left() + b, r.bottom());
    p.quadTo(QPointF(r.left(), r.bottom()), QPointF(r.left(), r.bottom() - b));
    p.lineTo(r.left(), r.top() + t);
    p.quadTo(QPointF(r.left(), r.top()), QPointF(r.left() + t, r.top()));
    p.closeSubpath();
    return p;
}

} // namespace NotchGeometry
