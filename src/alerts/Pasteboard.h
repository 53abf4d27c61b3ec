#pragma once

#include <QString>

// The clipboard, for text that clipboard history tools should leave out.
class Pasteboard
{
public:
    virtual ~Pasteboard() = default;
    virtual void copyConcealed(const QString &text) = 0;
};
