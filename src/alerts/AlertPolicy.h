#pragma once

#include "ipc/Frames.h"

// How one incoming message alerts: whether it gets a banner and at what urgency, whether
// the overlay shows its card or only pulses, and whether the chime plays. Every such
// decision is made here; the controllers only carry it out.
struct Alert {
    enum class Banner { none, low, normal, critical };
    enum class Overlay { show, pulse };

    Banner banner = Banner::normal;
    Overlay overlay = Overlay::show;
    bool chime = true;
    // Do-not-disturb is holding this message back (no breakthrough recorded).
    bool heldBack = false;

    bool operator==(const Alert &) const = default;
};

namespace AlertPolicy {

// The switches the decision reads, taken from the settings store at one moment.
struct Switches {
    bool quietWhenFocused = false;
    bool urgencyMapping = true;
    bool focusFilter = false;
    bool sound = true;

    static Switches current();
};

// The desktop's do-not-disturb as its watcher last saw it, with the breakthrough the
// filter recorded at the last change (counted only while the feature is switched on).
struct DoNotDisturb {
    bool active = false;
    bool breakthroughRecorded = false;
};

Alert decide(const NotifyFrame &frame, const Switches &switches, const DoNotDisturb &dnd);

} // namespace AlertPolicy
