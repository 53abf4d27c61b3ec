#pragma once

// How an incoming message may alert while the desktop's do-not-disturb is on or off.
// The banner code asks this before posting and before the notch plays its chime.
namespace FocusPolicy {

struct Decision {
    // The banner goes out with critical urgency, which the desktops show during
    // do-not-disturb; otherwise the usual low/normal mapping applies.
    bool forceCritical = false;
    bool chimeAllowed = true;
    bool operator==(const Decision &) const = default;
};

Decision decide(bool doNotDisturb, bool breakthroughRecorded);

// The recorded breakthrough, counted only while the feature is switched on.
bool recordedBreakthrough();

} // namespace FocusPolicy
