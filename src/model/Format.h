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

} // namespace Format
