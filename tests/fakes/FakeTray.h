#pragma once

#include "alerts/TrayPort.h"

// A tray that remembers every icon it was given and can open its menu on demand.
class FakeTray : public TrayPort
{
public:
    bool isAvailable() const override { return available; }
    void setIcon(const TrayIconState &state) override { icons.append(state); }
    void setMenuSource(std::function<QList<MenuEntry>()> source) override { m_source = std::move(source); }
    void refreshMenu() override { ++refreshes; }

    QList<MenuEntry> open() const { return m_source ? m_source() : QList<MenuEntry> {}; }
    TrayIconState icon() const { return icons.isEmpty() ? TrayIconState {} : icons.last(); }

    bool available = true;
    QList<TrayIconState> icons;
    int refreshes = 0;

private:
    std::function<QList<MenuEntry>()> m_source;
};
