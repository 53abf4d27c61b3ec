#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QString>

// A sender's avatar: the initials of the handle on the brand green, optionally with an
// unread badge in the top-right corner (the tray icon).
namespace MonogramAvatar {

// "" → "?"; two or more words → the first letters of the first two; one word → its first
// two characters; upper-cased. Words are split at spaces, '_', '-' and '.'.
QString initials(const QString &name);

QColor brandGreen();

// A square image of `size` pixels; a badge is drawn when badgeCount > 0 ("99+" above 99).
QImage image(const QString &name, int size, int badgeCount = 0);

// The badge text for a count: "" for none, the number, or "99+".
QString badgeText(int count);

QByteArray png(const QString &name, int size = 64);

} // namespace MonogramAvatar
