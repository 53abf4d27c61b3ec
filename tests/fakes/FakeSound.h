#pragma once

#include "alerts/SoundPlayer.h"

class FakeSound : public SoundPlayer
{
public:
    void playArrival() override { ++plays; }
    int plays = 0;
};
