#include "platform/NotchPlatform.h"

#include "platform/CanberraSound.h"
#include "platform/ClipboardPasteboard.h"
#include "platform/DesktopMotionPreference.h"
#include "platform/QtScheduler.h"
#include "platform/QtScreenSource.h"

namespace NotchPlatform {

NotchPorts ports(NotchOverlayWindow::ViewLoader loadOverlay)
{
    NotchPorts p;
    p.scheduler = std::make_shared<QtScheduler>();
    p.screens = std::make_shared<QtScreenSource>();
    p.pasteboard = std::make_shared<ClipboardPasteboard>();
    p.sound = std::make_shared<CanberraSound>();
    p.motion = std::make_shared<DesktopMotionPreference>();
    p.makePanel = [loadOverlay = std::move(loadOverlay)](
                      NotchViewModel &model) { return std::make_unique<NotchOverlayWindow>(model, loadOverlay); };
    return p;
}

} // namespace NotchPlatform
