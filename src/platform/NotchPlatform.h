#pragma once

#include "alerts/NotchPorts.h"
#include "platform/NotchOverlayWindow.h"

// The notch's ports on Linux: Qt timers, QScreen, the clipboard, libcanberra, the desktop's
// animation setting, and the overlay window built on first show with the view loadOverlay
// gives it.
namespace NotchPlatform {
NotchPorts ports(NotchOverlayWindow::ViewLoader loadOverlay);
}
