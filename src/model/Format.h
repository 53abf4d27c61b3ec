#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// Short texts for message times and sizes. The date functions read `createdAt` like
// MessageTime does and work in the calendar and time zone of `now` (the user's local zone
// by default); unusable input gives a fixed fallback, never an error.
namespace Format {

// "HH:mm" for today, else "M/d"; "" when the text does not parse.
QString listTime(const QString &createdAt, const QDateTime &now = QDateTime::currentDateTime());

// Equal for the same local calendar day ("2024-5-1"); the text itself when it does not parse.
QString dayKey(const QString &createdAt, const QDateTime &now = QDateTime::currentDateTime());

// "今天", "昨天", "M月d日" this year, else "yyyy年M月d日"; the text itself when it does not parse.
QString daySeparator(const QString &createdAt, const QDateTime &now = QDateTime::currentDateTime());

// "512 B", "1.5 KB", "3.0 MB"; an em dash for no, negative or non-finite sizes.
QString bytes(std::optional<double> size);

// How many characters of a message's text each surface draws. A message keeps its whole
// text (copy, fill, reply and the log's private value use it); what is drawn is a preview,
// because laying out a multi-megabyte text costs far more memory than the text itself and
// nobody reads past the first screenful of a banner or a menu row.
namespace PreviewLimit {
constexpr qsizetype name = 200; // handles and titles: one elided line
constexpr qsizetype banner = 1000; // a banner's body
constexpr qsizetype overlay = 1000; // the overlay card's body and code (6 and 8 lines)
constexpr qsizetype menuRow = 48; // a tray row's body after its whitespace is folded
constexpr qsizetype bubble = 4000; // a bubble part before "显示全部"
constexpr qsizetype bubbleStep = 100000; // what each "显示更多" adds
} // namespace PreviewLimit

// The first `limit` characters of `text`, ending in "…" when something was cut; `text`
// itself (shared, not copied) when it fits. Never splits a surrogate pair.
QString preview(const QString &text, qsizetype limit);

// A one-line preview: runs of whitespace folded to one space, then cut like preview().
// Reads only the start of a long text.
QString oneLine(const QString &text, qsizetype limit);

} // namespace Format
