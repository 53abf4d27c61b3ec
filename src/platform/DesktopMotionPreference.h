#pragma once

#include "alerts/MotionPreference.h"

#include <QObject>

// "Reduce motion" on Linux: QUILLMOTE_REDUCE_MOTION=1 forces it; otherwise KDE's animation
// speed set to instant (AnimationDurationFactor=0 in kdeglobals) or GNOME's
// enable-animations=false, read through the settings portal and followed as it changes.
class DesktopMotionPreference : public QObject, public MotionPreference
{
    Q_OBJECT
public:
    explicit DesktopMotionPreference(QObject *parent = nullptr);
    bool reduceMotion() const override;

private:
    static bool kdeAnimationsOff();
    bool m_portalAnimationsOff = false;
};
