#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

// The Qt platform and scene-graph renderer the app picks for itself at start-up, before the
// application object exists. A choice the user made in the environment always wins.
namespace SessionPlatform {

struct Choice {
    QByteArray platform; // empty: Qt's own choice
    QString reason; // the log line, empty when nothing was chosen
};

// Reads variables through `env` (tests pass a map):
//  - no display at all: "offscreen", so the socket link keeps working on a server;
//  - a Wayland session that also offers XWayland: "xcb", because the overlay must hang at an
//    exact place above everything and never be tiled, which a plain Wayland client cannot ask
//    for without layer-shell.
Choice choosePlatform(const std::function<QByteArray(const char *)> &env);

// The software scene graph unless QT_QUICK_BACKEND or QSG_RHI_BACKEND names another: an idle
// overlay then costs no GL context (about 90 MB less resident with Mesa's llvmpipe) and a
// redraw of the small card is cheaper in software than a GL frame.
bool softwareRendererWanted(const std::function<QByteArray(const char *)> &env);

// Applies both to this process (before QApplication) and logs what was chosen.
void apply();

} // namespace SessionPlatform
