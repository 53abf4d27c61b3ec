#pragma once

#include <QEasingCurve>
#include <QObject>

// The animation a change of the overlay is made with. The controller picks one for every
// change of state, reply field and feedback; the view only plays it. Springs become an
// easing curve the view can run: an overshoot that matches the damping, a duration that
// matches the response.
struct NotchMotion {
    Q_GADGET
    // What the view's animations read.
    Q_PROPERTY(int duration MEMBER durationMs)
    Q_PROPERTY(int easing READ easingType)
    Q_PROPERTY(double overshoot MEMBER overshoot)
public:
    int durationMs = 0;
    QEasingCurve::Type easing = QEasingCurve::Linear;
    double overshoot = 0;

    static NotchMotion spring(double response, double dampingFraction);
    static NotchMotion easeOut(double seconds);

    // The four springs of the overlay, or their reduced-motion ease-outs.
    static NotchMotion expand(bool reduceMotion); // also collapse and the reply field
    static NotchMotion appear(bool reduceMotion);
    static NotchMotion close(bool reduceMotion);

    int easingType() const { return int(easing); }

    bool operator==(const NotchMotion &) const = default;
};
