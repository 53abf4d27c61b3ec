#include "model/JSONValue.h"

#include <QVariantList>
#include <QVariantMap>

#include <algorithm>
#include <cmath>

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
    const auto byKey = [](const Member &a, const Member &b) { return a.first < b.first; };
    if (!std::is_sorted(members.begin(), members.end(), byKey))
        std::stable_sort(members.begin(), members.end(), byKey);
    // Of equal keys keep the last: walk backwards and keep the first seen.
    if (std::adjacent_find(members.begin(), members.end(),
                           [](const Member &a, const Member &b) { return a.first == b.first; })
        != members.end()) {
        Object unique;
        unique.reserve(members.size());
        for (auto it = members.rbegin(); it != members.rend(); ++it) {
            if (unique.empty() || unique.back().first != it->first)
                unique.push_back(std::move(*it));
        }
        std::reverse(unique.begin(), unique.end());
        members = std::move(unique);
    }
    JSONValue v;
    v.m_kind = Kind::object;
    v.m_object = std::make_shared<const Object>(std::move(members));
    return v;
}

JSONValue JSONValue::array(Array elements)
{
    JSONValue v;
    v.m_kind = Kind::array;
    v.m_array = std::make_shared<const Array>(std::move(elements));
    return v;
}

const QString &JSONValue::toString() const { return m_kind == Kind::string ? m_string : emptyString(); }

const JSONValue::Object &JSONValue::members() const
{
    static const Object empty;
    return m_object ? *m_object : empty;
}

const JSONValue::Array &JSONValue::elements() const
{
    static const Array empty;
    return m_array ? *m_array : empty;
}

const JSONValue *JSONValue::find(QStringView key) const
{
    if (m_kind != Kind::object)
        return nullptr;
    const Object &o = *m_object;
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
    case Kind::string: return m_string;
    case Kind::number: return m_number;
    case Kind::boolean: return m_bool;
    case Kind::object: {
        QVariantMap map;
        for (const auto &[key, value] : *m_object)
            map.insert(key, value.toFoundation());
        return map;
    }
    case Kind::array: {
        QVariantList list;
        list.reserve(static_cast<qsizetype>(m_array->size()));
        for (const auto &e : *m_array)
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
    case JSONValue::Kind::string: return a.m_string == b.m_string;
    case JSONValue::Kind::object: return a.m_object == b.m_object || *a.m_object == *b.m_object;
    case JSONValue::Kind::array: return a.m_array == b.m_array || *a.m_array == *b.m_array;
    }
    return false;
}
