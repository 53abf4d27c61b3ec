#pragma once

// The arrival chime. A missing sound device is the adapter's business: it logs and goes on.
class SoundPlayer
{
public:
    virtual ~SoundPlayer() = default;
    virtual void playArrival() = 0;
};
