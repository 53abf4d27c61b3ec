#pragma once

#include <QStringView>

#include <optional>

// Message times: `createdAt` is an internet date-time (RFC 3339), with fractional seconds
// or without. Inside the program a time is double milliseconds since 1970.
namespace MessageTime {

// Milliseconds since 1970 UTC, or nothing when the text is no internet date-time.
std::optional<double> parse(QStringView createdAt);

// The same, with 0 for an unusable text (such a message sorts as the oldest).
inline double millis(QStringView createdAt)
{
    return parse(createdAt).value_or(0.0);
}

} // namespace MessageTime
