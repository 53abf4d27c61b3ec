#pragma once

#include "alerts/ScreenSource.h"

// Screens as the test sets them; starts with one 1440x900 screen under a 28 px top panel.
class FakeScreens : public ScreenSource
{
public:
    FakeScreens()
    {
        list.append({ QStringLiteral("XVFB-1"), QRect(0, 0, 1440, 900), QRect(0, 28, 1440, 872), 0, {}, {} });
    }
    QList<NotchScreen> screens() const override { return list; }
    int primaryIndex() const override { return list.isEmpty() ? -1 : primary; }

    QList<NotchScreen> list;
    int primary = 0;
};
