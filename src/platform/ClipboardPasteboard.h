#pragma once

#include "alerts/Pasteboard.h"

// The desktop clipboard. Copies carry "x-kde-passwordManagerHint: secret", which Klipper,
// GPaste, CopyQ and other history tools honour by leaving the entry out of their history.
class ClipboardPasteboard : public Pasteboard
{
public:
    void copyConcealed(const QString &text) override;
    static constexpr const char *concealedMime = "x-kde-passwordManagerHint";
};
