#pragma once

#include "alerts/MenuEntry.h"

#include <QList>
#include <QString>

#include <functional>

// What the tray icon shows: the generic icon, or the newest sender's avatar with the
// unread count as a badge; `dimmed` is the low step of the attention pulse.
struct TrayIconState {
    QString sender; // empty: the generic icon
    int badge = 0;
    bool dimmed = false;

    bool operator==(const TrayIconState &) const = default;
};

// The system tray as the menu bar controller needs it. The adapter asks `menuSource` for
// the rows each time the menu is about to open and after refreshMenu(); a new icon alone
// never touches the menu (hosts that mirror the menu would re-read it on every pulse).
class TrayPort
{
public:
    virtual ~TrayPort() = default;

    // False when the desktop has no tray host; the controller keeps working regardless.
    virtual bool isAvailable() const = 0;
    virtual void setIcon(const TrayIconState &state) = 0;
    virtual void setMenuSource(std::function<QList<MenuEntry>()> source) = 0;
    // The rows changed (a message, a read, a clear, a switch): the menu follows them.
    virtual void refreshMenu() = 0;
};
