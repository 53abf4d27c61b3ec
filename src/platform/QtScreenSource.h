#pragma once

#include "alerts/ScreenSource.h"

// The desktop's screens from QGuiApplication. No Linux screen reports a camera housing, so
// every screen has a top inset of 0 and the overlay hangs below the top panel.
//
// Where the user is looking:
//  - X11 (and XWayland): the window named by the root window's _NET_ACTIVE_WINDOW, which
//    every EWMH window manager keeps, and its geometry translated to root coordinates; the
//    pointer from QCursor (a query of the X server).
//  - Wayland: only our own focused window is known (the protocol tells a client nothing about
//    other clients' windows or the pointer outside its own surfaces), so the answer is -1 and
//    the primary screen is taken.
class QtScreenSource : public ScreenSource
{
    Q_OBJECT
public:
    QtScreenSource();

    QList<NotchScreen> screens() const override;
    int primaryIndex() const override;
    int focusedIndex() const override;
    int pointerIndex() const override;

private:
    void watch(class QScreen *screen);
};
