#include "model/MessageTime.h"

#include <cmath>
#include <cstdint>

namespace MessageTime {
namespace {

// Days since 1970-01-01 of a proleptic Gregorian date (H. Hinnant's days_from_civil).
int64_t daysFromCivil(int64_t y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

unsigned daysInMonth(int64_t y, unsigned m)
{
    static const unsigned days[] = { 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31 };
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return m == 2 && leap ? 29 : days[m - 1];
}

class Reader
{
public:
    explicit Reader(QStringView s)
        : m_s(s)
    {
    }
    bool digits(int count, int &out)
    {
        out = 0;
        for (int i = 0; i < count; ++i) {
            if (m_pos >= m_s.size() || m_s[m_pos] < u'0' || m_s[m_pos] > u'9')
                return false;
            out = out * 10 + (m_s[m_pos++].unicode() - u'0');
        }
        return true;
    }
    bool skip(char16_t c)
    {
        if (m_pos < m_s.size() && m_s[m_pos] == c) {
            ++m_pos;
            return true;
        }
        return false;
    }
    bool peekDigit() const { return m_pos < m_s.size() && m_s[m_pos] >= u'0' && m_s[m_pos] <= u'9'; }
    bool atEnd() const { return m_pos == m_s.size(); }

private:
    QStringView m_s;
    qsizetype m_pos = 0;
};

// yyyy-MM-ddTHH:mm:ss[.f…](Z|±HH:mm); withFraction demands the fraction, otherwise it is refused.
std::optional<double> parseForm(QStringView text, bool withFraction)
{
    Reader r(text);
    int year, month, day, hour, minute, second;
    if (!r.digits(4, year) || !r.skip(u'-') || !r.digits(2, month) || !r.skip(u'-') || !r.digits(2, day)
        || !r.skip(u'T') || !r.digits(2, hour) || !r.skip(u':') || !r.digits(2, minute) || !r.skip(u':')
        || !r.digits(2, second))
        return std::nullopt;
    double fractionMs = 0;
    if (r.skip(u'.')) {
        if (!withFraction || !r.peekDigit())
            return std::nullopt;
        double scale = 100;
        int digit;
        while (r.peekDigit()) {
            r.digits(1, digit);
            fractionMs += digit * scale;
            scale /= 10;
        }
        fractionMs = std::floor(fractionMs); // whole milliseconds; further digits are ignored
    } else if (withFraction) {
        return std::nullopt;
    }
    int offsetMinutes = 0;
    if (!r.skip(u'Z')) {
        int sign = 0;
        if (r.skip(u'+'))
            sign = 1;
        else if (r.skip(u'-'))
            sign = -1;
        int oh, om;
        if (!sign || !r.digits(2, oh) || !r.skip(u':') || !r.digits(2, om) || oh > 23 || om > 59)
            return std::nullopt;
        offsetMinutes = sign * (oh * 60 + om);
    }
    if (!r.atEnd() || month < 1 || month > 12 || day < 1 || static_cast<unsigned>(day) > daysInMonth(year, month)
        || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    const int64_t days = daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    const int64_t seconds = days * 86400 + hour * 3600 + minute * 60 + second - offsetMinutes * 60;
    return static_cast<double>(seconds) * 1000.0 + fractionMs;
}

} // namespace

std::optional<double> parse(QStringView createdAt)
{
    if (auto ms = parseForm(createdAt, true))
        return ms;
    return parseForm(createdAt, false);
}

} // namespace MessageTime
