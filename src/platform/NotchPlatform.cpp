#include "platform/NotchPlatform.h"

#include "platform/CanberraSound.h"
#include "platform/ClipboardPasteboard.h"
#include "platform/DesktopMotionPreference.h"
#include "platform/NotchOverlayWindow.h"
#include "platform/QtScheduler.h"
#include "platform/QtScreenSource.h"

namespace NotchPlatform {

NotchPorts ports()
{
    NotchPorts p;
    p.scheduler = std::make_shared<QtScheduler>();
    p.screens = std::make_shared<QtScreenSource>();
    p.pasteboard = std::make_shared<ClipboardPasteboard>();
    p.sound = std::make_shared<CanberraSound>();
    p.motion = std::make_shared<DesktopMotionPreference>();
    p.makePanel = [](NotchViewModel &model) { return std::make_unique<NotchOverlayWindow>(model); };
    return p;
}

} // namespace NotchPlatform
