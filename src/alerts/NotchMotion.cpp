#include "alerts/NotchMotion.h"

#include <QtMath>

#include <algorithm>
#include <cmath>

NotchMotion NotchMotion::spring(double response, double dampingFraction)
{
    NotchMotion m;
    if (dampingFraction >= 1.0) {
        m.durationMs = qRound(response * 1000);
        m.easing = QEasingCurve::OutCubic;
        return m;
    }
    // Peak overshoot of a damped oscillator, mapped onto OutBack, whose default overshoot
    // of 1.70158 peaks about 10 % past the target.
    const double z = std::clamp(dampingFraction, 0.05, 0.999);
    const double peak = std::exp(-z * M_PI / std::sqrt(1 - z * z));
    m.durationMs = qRound(response * 1250);
    m.easing = QEasingCurve::OutBack;
    m.overshoot = std::min(1.70158, peak / 0.1 * 1.70158);
    return m;
}

NotchMotion NotchMotion::easeOut(double seconds)
{
    return { qRound(seconds * 1000), QEasingCurve::OutQuad, 0 };
}

NotchMotion NotchMotion::expand(bool reduceMotion)
{
    return reduceMotion ? easeOut(0.16) : spring(0.3, 0.82);
}

NotchMotion NotchMotion::appear(bool reduceMotion)
{
    return reduceMotion ? easeOut(0.18) : spring(0.38, 0.72);
}

NotchMotion NotchMotion::close(bool reduceMotion)
{
    return reduceMotion ? easeOut(0.16) : spring(0.32, 1.0);
}
