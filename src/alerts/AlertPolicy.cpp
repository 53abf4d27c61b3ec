#include "alerts/AlertPolicy.h"

#include "core/SettingsStore.h"

namespace AlertPolicy {

Switches Switches::current()
{
    using K = SettingsStore::Key;
    return { SettingsStore::flag(K::quietWhenFocused), SettingsStore::flag(K::urgencyMapping),
        SettingsStore::flag(K::focusFilter), SettingsStore::flag(K::sound) };
}

Alert decide(const NotifyFrame &frame, const Switches &switches, const DoNotDisturb &dnd)
{
    const bool focused = frame.focused.value_or(false);
    const bool breakthrough = dnd.active && switches.focusFilter && dnd.breakthroughRecorded;

    Alert alert;
    alert.heldBack = dnd.active && !breakthrough;
    alert.chime = switches.sound && !alert.heldBack;
    if (switches.quietWhenFocused && focused) {
        // The sender's terminal is in front and the user asked for quiet: count and pulse.
        alert.banner = Alert::Banner::none;
        alert.overlay = Alert::Overlay::pulse;
        return alert;
    }
    // During do-not-disturb the overlay keeps quiet too; the server holds the banner back.
    alert.overlay = alert.heldBack ? Alert::Overlay::pulse : Alert::Overlay::show;
    if (breakthrough)
        alert.banner = Alert::Banner::critical; // desktops show critical banners during do-not-disturb
    else if (switches.urgencyMapping && focused)
        alert.banner = Alert::Banner::low;
    else
        alert.banner = Alert::Banner::normal;
    return alert;
}

} // namespace AlertPolicy
