#pragma once

// The desktop's "reduce motion" accessibility preference, read whenever an animation starts.
class MotionPreference
{
public:
    virtual ~MotionPreference() = default;
    virtual bool reduceMotion() const = 0;
};
