#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QString>

// A sender's avatar: the initials of the handle on the brand green, optionally with an
// unread badge in the top-right corner (the tray icon).
namespace MonogramAvatar {

// Characters::initials: the same letters on every avatar.
QString initials(const QString &name);

// The colour of a handle's avatar inside the windows and the overlay: the same hue for
// the same handle in every run. The monogram picture itself stays brand green.
QColor handleColor(const QString &handle);

QColor brandGreen();

// A square image of `size` pixels; a badge is drawn when badgeCount > 0 ("99+" above 99).
QImage image(const QString &name, int size, int badgeCount = 0);

// The badge text for a count: "" for none, the number, or "99+".
QString badgeText(int count);

QByteArray png(const QString &name, int size = 64);

} // namespace MonogramAvatar
