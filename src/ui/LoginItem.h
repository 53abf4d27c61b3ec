#pragma once

#include <QString>

// Starting the app at login, as the preferences switch sees it.
class LoginItem
{
public:
    virtual ~LoginItem() = default;
    virtual bool enabled() const = 0;
    // Writes or removes the entry; false with an error text when that failed.
    virtual bool setEnabled(bool on, QString *error) = 0;
};
