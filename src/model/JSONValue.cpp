#include "model/JSONValue.h"

#include <QLocale>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <memory>

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
        case u'"':
            out += QLatin1String("\\\"");
            break;
        case u'\\':
            out += QLatin1String("\\\\");
            break;
        case u'\n':
            out += QLatin1String("\\n");
            break;
        case u'\r':
            out += QLatin1String("\\r");
            break;
        case u'\t':
            out += QLatin1String("\\t");
            break;
        case u'\b':
            out += QLatin1String("\\b");
            break;
        case u'\f':
            out += QLatin1String("\\f");
            break;
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
    case JSONValue::Kind::null:
        out += QLatin1String("null");
        break;
    case JSONValue::Kind::boolean:
        out += v.toBool() ? QLatin1String("true") : QLatin1String("false");
        break;
    case JSONValue::Kind::number:
        appendNumber(out, v.toNumber());
        break;
    case JSONValue::Kind::string:
        appendEscaped(out, v.toString());
        break;
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

// One allocation: the header, then the member slots of all the tree's objects, then the
// element slots of all its arrays. Every slot is a live value from creation on, so the tree
// is torn down by destroying the slots in order.
struct alignas(alignof(JSONValue::Member)) JSONValue::Tree {
    std::atomic<int> refs;
    quint32 members;
    quint32 elements;

    Member *memberSlots() { return reinterpret_cast<Member *>(this + 1); }
    JSONValue *elementSlots() { return reinterpret_cast<JSONValue *>(memberSlots() + members); }
    bool holds(const void *p)
    {
        const std::less<const void *> before;
        return !before(p, memberSlots()) && before(p, elementSlots() + elements);
    }

    static Tree *create(size_t members, size_t elements)
    {
        void *raw = ::operator new(sizeof(Tree) + members * sizeof(Member) + elements * sizeof(JSONValue));
        auto *tree = new (raw) Tree { { 1 }, static_cast<quint32>(members), static_cast<quint32>(elements) };
        std::uninitialized_default_construct_n(tree->memberSlots(), members);
        std::uninitialized_default_construct_n(tree->elementSlots(), elements);
        return tree;
    }
    void ref() { refs.fetch_add(1, std::memory_order_relaxed); }
    void deref()
    {
        if (refs.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return;
        std::destroy_n(memberSlots(), members);
        std::destroy_n(elementSlots(), elements);
        this->~Tree();
        ::operator delete(this);
    }
};

JSONValue::JSONValue(const JSONValue &other)
    : m_kind(other.m_kind)
    , m_size(other.m_size)
{
    switch (m_kind) {
    case Kind::string:
        new (&m_string) QString(other.m_string);
        break;
    case Kind::number:
        m_number = other.m_number;
        break;
    case Kind::boolean:
        m_bool = other.m_bool;
        break;
    case Kind::object:
    case Kind::array:
        m_container = other.m_container;
        if (m_container.tree)
            m_container.tree->ref();
        break;
    case Kind::null:
        m_number = 0.0;
        break;
    }
}

void JSONValue::takeContainer(JSONValue &other) noexcept
{
    m_container = other.m_container;
    if (other.m_inTree) {
        // A slot stays where it is; what leaves its tree takes a reference.
        if (m_container.tree)
            m_container.tree->ref();
    } else {
        other.m_kind = Kind::null;
        other.m_size = 0;
        other.m_number = 0.0;
    }
}

JSONValue &JSONValue::operator=(const JSONValue &other)
{
    if (this != &other) {
        JSONValue copy(other); // first: other may live in the tree this value holds
        *this = std::move(copy);
    }
    return *this;
}

void JSONValue::releaseTree() noexcept
{
    m_container.tree->deref();
}

JSONValue JSONValue::object(Object members)
{
    std::stable_sort(
        members.begin(), members.end(), [](const Member &a, const Member &b) { return a.first < b.first; });
    // Of equal keys keep the last one (the sort kept document order among twins).
    size_t unique = 0;
    for (size_t k = 0; k < members.size(); ++k) {
        if (k + 1 < members.size() && members[k + 1].first == members[k].first)
            continue;
        if (unique != k)
            members[unique] = std::move(members[k]);
        ++unique;
    }
    JSONValue v;
    TreeBuilder tree(unique, 0);
    const std::span<Member> slots = tree.makeObject(v, unique);
    std::move(members.begin(), members.begin() + static_cast<std::ptrdiff_t>(unique), slots.begin());
    return v;
}

JSONValue JSONValue::array(Array elements)
{
    JSONValue v;
    TreeBuilder tree(0, elements.size());
    const std::span<JSONValue> slots = tree.makeArray(v, elements.size());
    std::move(elements.begin(), elements.end(), slots.begin());
    return v;
}

JSONValue::TreeBuilder::TreeBuilder(size_t members, size_t elements)
{
    if (members + elements > 0)
        m_tree = Tree::create(members, elements);
}

JSONValue::TreeBuilder::~TreeBuilder()
{
    if (m_tree)
        m_tree->deref();
}

std::span<JSONValue::Member> JSONValue::TreeBuilder::makeObject(JSONValue &slot, size_t n)
{
    if (n > (m_tree ? m_tree->members : 0) - m_membersUsed)
        qFatal("JSONValue::TreeBuilder: more members than counted");
    Member *items = n ? m_tree->memberSlots() + m_membersUsed : nullptr;
    m_membersUsed += n;
    attach(slot, Kind::object, items, n);
    return { items, n };
}

std::span<JSONValue> JSONValue::TreeBuilder::makeArray(JSONValue &slot, size_t n)
{
    if (n > (m_tree ? m_tree->elements : 0) - m_elementsUsed)
        qFatal("JSONValue::TreeBuilder: more elements than counted");
    JSONValue *items = n ? m_tree->elementSlots() + m_elementsUsed : nullptr;
    m_elementsUsed += n;
    attach(slot, Kind::array, items, n);
    return { items, n };
}

void JSONValue::TreeBuilder::attach(JSONValue &slot, Kind kind, const void *items, size_t n)
{
    slot = JSONValue();
    slot.m_kind = kind;
    slot.m_size = static_cast<quint32>(n);
    Tree *tree = n ? m_tree : nullptr;
    slot.m_container = { items, tree };
    // Containers inside the tree point at their items without counting (counting would keep
    // the tree alive forever); the root outside holds a reference.
    slot.m_inTree = tree && tree->holds(&slot);
    if (tree && !slot.m_inTree)
        tree->ref();
}

const QString &JSONValue::toString() const
{
    return m_kind == Kind::string ? m_string : emptyString();
}

std::span<const JSONValue::Member> JSONValue::members() const
{
    if (m_kind != Kind::object)
        return {};
    return { static_cast<const Member *>(m_container.items), m_size };
}

std::span<const JSONValue> JSONValue::elements() const
{
    if (m_kind != Kind::array)
        return {};
    return { static_cast<const JSONValue *>(m_container.items), m_size };
}

const JSONValue *JSONValue::find(QStringView key) const
{
    const auto o = members();
    const auto it = std::lower_bound(
        o.begin(), o.end(), key, [](const Member &m, QStringView k) { return QStringView(m.first) < k; });
    if (it == o.end() || QStringView(it->first) != key)
        return nullptr;
    return &it->second;
}

const QString *JSONValue::stringAt(QStringView key) const
{
    const JSONValue *v = find(key);
    return v && v->isString() ? &v->m_string : nullptr;
}

QString JSONValue::pretty() const
{
    QString out;
    switch (m_kind) {
    case Kind::null:
        return QStringLiteral("null");
    case Kind::object:
    case Kind::array:
        write(out, *this, 4, 0);
        break;
    default:
        write(out, JSONValue::object({ { QStringLiteral("value"), *this } }), 4, 0);
        break;
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
    case JSONValue::Kind::null:
        return true;
    case JSONValue::Kind::boolean:
        return a.m_bool == b.m_bool;
    case JSONValue::Kind::number:
        return a.m_number == b.m_number;
    case JSONValue::Kind::string:
        return a.toString() == b.toString();
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
