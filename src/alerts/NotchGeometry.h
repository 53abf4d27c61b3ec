#pragma once

#include "alerts/ScreenSource.h"

#include <QPainterPath>
#include <QRect>
#include <QSizeF>

#include <optional>

// Where the overlay goes and how large it is. Pure functions of the screens.
namespace NotchGeometry {

// What the overlay learns from its screen.
struct Measure {
    bool hasNotch = false;
    double notchWidth = 196;
    double notchHeight = 30;
    double screenMidX = 0;
    double screenTopY = 0; // the edge the overlay hangs from; y grows downwards

    bool operator==(const Measure &) const = default;
};

// Where the user is looking, as indices into the screen list (-1: unknown).
struct Attention {
    int focused = -1; // the screen holding the focused window
    int pointer = -1; // the screen under the pointer
    int primary = -1;
};

// The first screen with a camera housing, else the screen of the focused window, else the
// one under the pointer, else the primary, else the first, else none.
std::optional<NotchScreen> targetScreen(const QList<NotchScreen> &screens, const Attention &attention);

// Without a housing the overlay hangs 4 px below the top of the available area, under
// a top panel if there is one.
Measure measure(const NotchScreen &screen);

// The compact size before the view has measured itself.
QSizeF estimatedCompactSize(const Measure &m, bool pulse);

// Centred on the screen, hanging from its top edge.
QRect panelFrame(const Measure &m, QSizeF size);

// The overlay's outline: quadratic (not circular) corners, top and bottom radii apart.
QPainterPath shapePath(const QRectF &rect, double topRadius, double bottomRadius);

} // namespace NotchGeometry
