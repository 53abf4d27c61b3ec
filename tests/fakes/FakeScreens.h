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
    int focusedIndex() const override { return focused; }
    int pointerIndex() const override { return pointer; }

    // Replaces the screens and tells the listener, as a monitor plugged in or out does.
    void change(QList<NotchScreen> screens)
    {
        list = std::move(screens);
        Q_EMIT changed();
    }

    QList<NotchScreen> list;
    int primary = 0;
    int focused = -1;
    int pointer = -1;
};
