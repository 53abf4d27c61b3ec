#pragma once

#include "alerts/MotionPreference.h"

class FakeMotion : public MotionPreference
{
public:
    bool reduceMotion() const override { return reduce; }
    bool reduce = false;
};
