#pragma once

#include "alerts/NotchPorts.h"

// The notch's ports on Linux: Qt timers, QScreen, the clipboard, libcanberra, the desktop's
// animation setting, and the overlay window built on first show.
namespace NotchPlatform {
NotchPorts ports();
}
