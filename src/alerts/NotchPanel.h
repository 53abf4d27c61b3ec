#pragma once

#include <QRect>

// The window that hosts the overlay view: frameless, above everything, out of the taskbar.
// Built once on first show, then only ordered in and out.
class NotchPanel
{
public:
    virtual ~NotchPanel() = default;
    // Shows the window at `frame` without taking the keyboard focus.
    virtual void orderFront(const QRect &frame) = 0;
    virtual void orderOut() = 0;
    virtual void setFrame(const QRect &frame) = 0;
    // The window takes the keyboard only while the reply field is open.
    virtual void setKeyboardFocus(bool wanted) = 0;
    virtual bool isVisible() const = 0;
};
