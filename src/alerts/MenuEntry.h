#pragma once

#include <QList>
#include <QString>

#include <functional>

// One row of the tray menu as the logic describes it; the tray adapter turns the list
// into real menu items each time the menu opens.
struct MenuEntry {
    enum class Kind { Header, Item, Separator, Submenu };

    Kind kind = Kind::Item;
    QString text;
    QString subtitle; // second part of a recent message row (body · relative time)
    QString shortcut; // portable key sequence text, e.g. "Ctrl+0"
    QString iconName; // freedesktop icon name, may be empty
    bool enabled = true;
    bool checkable = false;
    bool checked = false;
    bool emphasized = false; // an unread message
    QList<MenuEntry> children; // for Submenu
    std::function<void()> trigger;

    static MenuEntry header(const QString &text)
    {
        MenuEntry e;
        e.kind = Kind::Header;
        e.text = text;
        e.enabled = false;
        return e;
    }
    static MenuEntry separator()
    {
        MenuEntry e;
        e.kind = Kind::Separator;
        return e;
    }
};
