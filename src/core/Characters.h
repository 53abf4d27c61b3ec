#pragma once

#include <QString>

// Counting and cutting text the way a reader sees it: by user-perceived characters
// (grapheme clusters), so an emoji with modifiers or a letter with a combining mark is
// one character, never half of a surrogate pair.
namespace Characters {

qsizetype count(const QString &text);

// The first `n` characters of `text` (all of it when it has fewer).
QString first(const QString &text, qsizetype n);

// The letters of every avatar of a handle (tray, banner, overlay, window). "" → "?"; two
// or more words → the first characters of the first two; one word → its first two
// characters; upper-cased. Words are split at blanks, '_', '-', '.' and '@'.
QString initials(const QString &name);

} // namespace Characters
