#pragma once

#include "alerts/SoundPlayer.h"

struct ca_context;

// The arrival chime from the XDG sound theme ("message-new-instant") through libcanberra,
// which plays asynchronously. Without a sound device the first failure is logged and
// later ones stay quiet; nothing else is affected.
class CanberraSound : public SoundPlayer
{
public:
    CanberraSound();
    ~CanberraSound() override;
    CanberraSound(const CanberraSound &) = delete;
    CanberraSound &operator=(const CanberraSound &) = delete;

    void playArrival() override;
    static constexpr const char *eventId = "message-new-instant";

private:
    ca_context *m_context = nullptr;
    bool m_reported = false;
};
