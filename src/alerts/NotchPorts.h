#pragma once

#include "alerts/MotionPreference.h"
#include "alerts/NotchPanel.h"
#include "alerts/Pasteboard.h"
#include "alerts/Scheduler.h"
#include "alerts/ScreenSource.h"
#include "alerts/SoundPlayer.h"

#include <functional>
#include <memory>

class NotchViewModel;

// Everything the notch controller needs from the platform. The Linux adapters come from
// NotchPlatform::ports() (src/platform); tests pass fakes.
struct NotchPorts {
    std::shared_ptr<Scheduler> scheduler;
    std::shared_ptr<ScreenSource> screens;
    std::shared_ptr<Pasteboard> pasteboard;
    std::shared_ptr<SoundPlayer> sound;
    std::shared_ptr<MotionPreference> motion;
    // Builds the panel that shows the model; called on the first show only.
    std::function<std::unique_ptr<NotchPanel>(NotchViewModel &)> makePanel;
};
