#include "model/JSONValue.h"

#include <QVariantList>
#include <QVariantMap>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

const QString &emptyString()
{
    static const QString s;
    return s;
}

void appendEscaped(QString &out, const QString &s)
{
    out += u'"';
    for (const QChar c : s) {
        switch (c.unicode()) {
        case u'"': out += QLatin1String("\\\""); break;
        case u'\\': out += QLatin1String("\\\\"); break;
        case u'\n': out += QLatin1String("\\n"); break;
        case u'\r': out += QLatin1String("\\r"); break;
        case u'\t': out += QLatin1String("\\t"); break;
        case u'\b': out += QLatin1String("\\b"); break;
        case u'\f': out += QLatin1String("\\f"); break;
        default:
            if (c.unicode() < 0x20)
                out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    out += u'"';
}

void appendNumber(QString &out, double d)
{
    // Whole numbers print without a fraction (3, not 3.0), like the usual JSON writers.
    if (std::isfinite(d) && d == std::trunc(d) && std::abs(d) < 1e15)
        out += QString::number(static_cast<qint64>(d));
    else if (std::isfinite(d))
        out += QString::number(d, 'g', QLocale::FloatingPointShortest);
    else
        out += QLatin1String("null");
}

// indent < 0: compact.
void write(QString &out, const JSONValue &v, int indent, int depth)
{
    const auto newline = [&](int level) {
        if (indent < 0)
            return;
        out += u'\n';
        out += QString(level * indent, u' ');
    };
    switch (v.kind()) {
    case JSONValue::Kind::null: out += QLatin1String("null"); break;
    case JSONValue::Kind::boolean: out += v.toBool() ? QLatin1String("true") : QLatin1String("false"); break;
    case JSONValue::Kind::number: appendNumber(out, v.toNumber()); break;
    case JSONValue::Kind::string: appendEscaped(out, v.toString()); break;
    case JSONValue::Kind::array: {
        const auto &a = v.elements();
        if (a.empty()) {
            out += QLatin1String("[]");
            break;
        }
        out += u'[';
        for (size_t i = 0; i < a.size(); ++i) {
            if (i)
                out += u',';
            newline(depth + 1);
            write(out, a[i], indent, depth + 1);
        }
        newline(depth);
        out += u']';
        break;
    }
    case JSONValue::Kind::object: {
        const auto &o = v.members();
        if (o.empty()) {
            out += QLatin1String("{}");
            break;
        }
        out += u'{';
        for (size_t i = 0; i < o.size(); ++i) {
            if (i)
                out += u',';
            newline(depth + 1);
            appendEscaped(out, o[i].first);
            out += indent < 0 ? QLatin1String(":") : QLatin1String(" : ");
            write(out, o[i].second, indent, depth + 1);
        }
        newline(depth);
        out += u'}';
        break;
    }
    }
}

} // namespace

JSONValue JSONValue::string(QString s)
{
    JSONValue v;
    v.m_kind = Kind::string;
    v.m_string = std::move(s);
    return v;
}

JSONValue JSONValue::number(double d)
{
    JSONValue v;
    v.m_kind = Kind::number;
    v.m_number = d;
    return v;
}

JSONValue JSONValue::boolean(bool b)
{
    JSONValue v;
    v.m_kind = Kind::boolean;
    v.m_bool = b;
    return v;
}

JSONValue JSONValue::object(Object members)
{
    const size_t n = members.size();
    return makeObject(n, [&](size_t i, Member &slot) { slot = std::move(members[i]); });
}

JSONValue JSONValue::fromMembers(std::shared_ptr<Member[]> items, size_t n)
{
    Member *begin = items.get();
    const auto byKey = [](const Member &a, const Member &b) { return a.first < b.first; };
    const auto sameKey = [](const Member &a, const Member &b) { return a.first == b.first; };
    if (!std::is_sorted(begin, begin + n, byKey)) {
        if (n <= 16) {
            // Small objects, the usual case: a stable insertion sort in place.
            for (size_t i = 1; i < n; ++i) {
                for (size_t k = i; k > 0 && begin[k].first < begin[k - 1].first; --k)
                    std::swap(begin[k], begin[k - 1]);
            }
        } else {
            // Sort an index (stable, so twins keep document order), then move into place.
            std::vector<quint32> order(n);
            std::iota(order.begin(), order.end(), 0u);
            std::stable_sort(order.begin(), order.end(),
                             [&](quint32 a, quint32 b) { return begin[a].first < begin[b].first; });
            auto sorted = std::make_shared<Member[]>(n);
            for (size_t k = 0; k < n; ++k)
                sorted[k] = std::move(begin[order[k]]);
            items = std::move(sorted);
            begin = items.get();
        }
    }
    // Of equal keys keep the last one (the sort kept document order among twins).
    if (std::adjacent_find(begin, begin + n, sameKey) != begin + n) {
        size_t out = 0;
        for (size_t k = 0; k < n; ++k) {
            if (k + 1 < n && begin[k + 1].first == begin[k].first)
                continue;
            if (out != k)
                begin[out] = std::move(begin[k]);
            ++out;
        }
        n = out;
    }
    JSONValue v;
    v.m_kind = Kind::object;
    v.m_size = static_cast<quint32>(n);
    v.m_items = std::shared_ptr<const void>(std::move(items));
    return v;
}

JSONValue JSONValue::array(Array elements)
{
    const size_t n = elements.size();
    return makeArray(n, [&](size_t i, JSONValue &slot) { slot = std::move(elements[i]); });
}

const QString &JSONValue::toString() const
{
    return m_kind == Kind::string ? m_string : emptyString();
}

std::span<const JSONValue::Member> JSONValue::members() const
{
    if (m_kind != Kind::object)
        return {};
    return {static_cast<const Member *>(m_items.get()), m_size};
}

std::span<const JSONValue> JSONValue::elements() const
{
    if (m_kind != Kind::array)
        return {};
    return {static_cast<const JSONValue *>(m_items.get()), m_size};
}

const JSONValue *JSONValue::find(QStringView key) const
{
    const auto o = members();
    const auto it = std::lower_bound(o.begin(), o.end(), key,
                                     [](const Member &m, QStringView k) { return QStringView(m.first) < k; });
    if (it == o.end() || QStringView(it->first) != key)
        return nullptr;
    return &it->second;
}

const QString *JSONValue::stringAt(QStringView key) const
{
    const JSONValue *v = find(key);
    return v && v->isString() ? &v->m_string : nullptr;
}

QVariant JSONValue::toFoundation() const
{
    switch (m_kind) {
    case Kind::string: return toString();
    case Kind::number: return m_number;
    case Kind::boolean: return m_bool;
    case Kind::object: {
        QVariantMap map;
        for (const auto &[key, value] : members())
            map.insert(key, value.toFoundation());
        return map;
    }
    case Kind::array: {
        QVariantList list;
        list.reserve(m_size);
        for (const auto &e : elements())
            list.append(e.toFoundation());
        return list;
    }
    case Kind::null: break;
    }
    return QVariant::fromValue(nullptr);
}

QString JSONValue::pretty() const
{
    QString out;
    switch (m_kind) {
    case Kind::null: return QStringLiteral("null");
    case Kind::object:
    case Kind::array: write(out, *this, 4, 0); break;
    default: write(out, JSONValue::object({{QStringLiteral("value"), *this}}), 4, 0); break;
    }
    return out;
}

QByteArray JSONValue::toJson() const
{
    QString out;
    write(out, *this, -1, 0);
    return out.toUtf8();
}

bool operator==(const JSONValue &a, const JSONValue &b)
{
    if (a.m_kind != b.m_kind)
        return false;
    switch (a.m_kind) {
    case JSONValue::Kind::null: return true;
    case JSONValue::Kind::boolean: return a.m_bool == b.m_bool;
    case JSONValue::Kind::number: return a.m_number == b.m_number;
    case JSONValue::Kind::string: return a.toString() == b.toString();
    case JSONValue::Kind::object: {
        const auto x = a.members(), y = b.members();
        return x.data() == y.data() ? x.size() == y.size() : std::equal(x.begin(), x.end(), y.begin(), y.end());
    }
    case JSONValue::Kind::array: {
        const auto x = a.elements(), y = b.elements();
        return x.data() == y.data() ? x.size() == y.size() : std::equal(x.begin(), x.end(), y.begin(), y.end());
    }
    }
    return false;
}
