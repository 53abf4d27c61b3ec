#pragma once

#include "alerts/ScreenSource.h"

// The desktop's screens from QGuiApplication. No Linux screen reports a camera housing, so
// every screen has a top inset of 0 and the overlay hangs below the top panel.
class QtScreenSource : public ScreenSource
{
public:
    QList<NotchScreen> screens() const override;
    int primaryIndex() const override;
};
