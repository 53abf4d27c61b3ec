#include "intents/FocusPolicy.h"

#include "core/SettingsStore.h"
#include "intents/QuillmoteFocusFilter.h"

namespace FocusPolicy {

Decision decide(bool doNotDisturb, bool breakthroughRecorded)
{
    if (!doNotDisturb)
        return { false, true };
    return { breakthroughRecorded, breakthroughRecorded };
}

bool recordedBreakthrough()
{
    if (!SettingsStore::flag(SettingsStore::Key::focusFilter, false))
        return false;
    const auto v = SettingsStore::value(QString::fromLatin1(QuillmoteFocusFilter::recordedKey));
    return v && v->toBool();
}

} // namespace FocusPolicy
