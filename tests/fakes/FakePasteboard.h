#pragma once

#include "alerts/Pasteboard.h"

#include <QStringList>

class FakePasteboard : public Pasteboard
{
public:
    void copyConcealed(const QString &text) override { copies.append(text); }
    QStringList copies;
};
