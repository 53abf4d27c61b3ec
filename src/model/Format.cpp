#include "model/Format.h"

#include "model/MessageTime.h"

#include <QLocale>
#include <QTimeZone>

#include <cmath>

namespace Format {
namespace {

// The message's moment in the zone `now` is expressed in.
std::optional<QDateTime> localMoment(const QString &createdAt, const QDateTime &now)
{
    const auto ms = MessageTime::parse(createdAt);
    if (!ms)
        return std::nullopt;
    const auto epochMs = static_cast<qint64>(std::floor(*ms));
    switch (now.timeSpec()) {
    case Qt::TimeZone:
        return QDateTime::fromMSecsSinceEpoch(epochMs, now.timeZone());
    case Qt::UTC:
        return QDateTime::fromMSecsSinceEpoch(epochMs, Qt::UTC);
    case Qt::OffsetFromUTC:
        return QDateTime::fromMSecsSinceEpoch(epochMs, Qt::OffsetFromUTC, now.offsetFromUtc());
    case Qt::LocalTime:
        break;
    }
    return QDateTime::fromMSecsSinceEpoch(epochMs, Qt::LocalTime);
}

} // namespace

QString listTime(const QString &createdAt, const QDateTime &now)
{
    const auto at = localMoment(createdAt, now);
    if (!at)
        return QString();
    if (at->date() == now.date())
        return at->toString(QStringLiteral("HH:mm"));
    return at->toString(QStringLiteral("M/d"));
}

QString dayKey(const QString &createdAt, const QDateTime &now)
{
    const auto at = localMoment(createdAt, now);
    if (!at)
        return createdAt;
    const QDate d = at->date();
    return QStringLiteral("%1-%2-%3").arg(d.year()).arg(d.month()).arg(d.day());
}

QString daySeparator(const QString &createdAt, const QDateTime &now)
{
    const auto at = localMoment(createdAt, now);
    if (!at)
        return createdAt;
    const QDate d = at->date();
    const QDate today = now.date();
    if (d == today)
        return QStringLiteral("今天");
    if (d == today.addDays(-1))
        return QStringLiteral("昨天");
    const QLocale zh(QLocale::Chinese, QLocale::China);
    return zh.toString(d, d.year() == today.year() ? QStringLiteral("M月d日") : QStringLiteral("yyyy年M月d日"));
}

QString bytes(std::optional<double> size)
{
    if (!size || !std::isfinite(*size) || *size < 0)
        return QStringLiteral("—");
    const double s = *size;
    if (s < 1024)
        return QStringLiteral("%1 B").arg(static_cast<qint64>(s));
    if (s < 1048576)
        return QString::asprintf("%.1f KB", s / 1024);
    return QString::asprintf("%.1f MB", s / 1048576);
}

QString preview(const QString &text, qsizetype limit)
{
    if (text.size() <= limit)
        return text;
    if (limit <= 0)
        return QString();
    qsizetype cut = limit - 1; // room for the ellipsis
    if (cut > 0 && text.at(cut - 1).isHighSurrogate())
        --cut;
    return text.left(cut) + QChar(0x2026);
}

QString oneLine(const QString &text, qsizetype limit)
{
    // Folding can only shorten, and a few characters more than the limit are enough to
    // tell whether the folded text was cut.
    const QString head = text.left(std::max<qsizetype>(limit * 4, 64));
    QString folded = head.simplified();
    if (head.size() < text.size() && folded.size() <= limit)
        folded += QChar(0x2026);
    return preview(folded, limit);
}

} // namespace Format
