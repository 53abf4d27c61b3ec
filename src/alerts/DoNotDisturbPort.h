#pragma once

#include "alerts/AlertPolicy.h"

// Where the app learns the desktop's do-not-disturb state; a desktop adapter follows it.
class DoNotDisturbPort
{
public:
    virtual ~DoNotDisturbPort() = default;
    virtual AlertPolicy::DoNotDisturb doNotDisturb() const = 0;
};
