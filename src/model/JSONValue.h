#pragma once

#include <QByteArrayView>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <cstring>
#include <optional>
#include <span>
#include <utility>
#include <vector>

// A JSON value that never fails to decode: message content of any shape.
// Immutable and cheap to copy: objects and arrays are shared, never modified after
// construction, so copies may cross threads freely. Object keys are kept sorted (and
// unique, the last duplicate winning), which gives map equality and sorted rendering.
//
// The arrays and objects of one tree live in a single reference-counted allocation: the
// containers inside it point at each other without counting, and a value taken out of a
// tree (any copy) keeps the whole tree alive.
class JSONValue
{
public:
    enum class Kind : quint8 { string, number, boolean, object, array, null };
    using Member = std::pair<QString, JSONValue>;
    using Object = std::vector<Member>; // for construction; any order
    using Array = std::vector<JSONValue>;
    class TreeBuilder;

    JSONValue() noexcept
        : m_number(0.0)
    {
    } // null
    JSONValue(const JSONValue &other);
    JSONValue(JSONValue &&other) noexcept
        : m_kind(other.m_kind)
        , m_size(other.m_size)
    {
        if (m_kind == Kind::string)
            new (&m_string) QString(std::move(other.m_string));
        else if (isContainer())
            takeContainer(other);
        else
            std::memcpy(&m_number, &other.m_number, sizeof m_number); // the number or the bool
    }
    JSONValue &operator=(const JSONValue &other);
    JSONValue &operator=(JSONValue &&other) noexcept
    {
        if (this != &other) {
            this->~JSONValue();
            new (this) JSONValue(std::move(other));
        }
        return *this;
    }
    ~JSONValue()
    {
        if (m_kind == Kind::string)
            m_string.~QString();
        else if (isContainer() && !m_inTree && m_container.tree)
            releaseTree();
    }

    static JSONValue null() { return {}; }
    static JSONValue string(QString s)
    {
        JSONValue v;
        v.m_kind = Kind::string;
        new (&v.m_string) QString(std::move(s));
        return v;
    }
    static JSONValue number(double d)
    {
        JSONValue v;
        v.m_kind = Kind::number;
        v.m_number = d;
        return v;
    }
    static JSONValue boolean(bool b)
    {
        JSONValue v;
        v.m_kind = Kind::boolean;
        v.m_bool = b;
        return v;
    }
    // Sorts the members by key; of duplicate keys the last one is kept.
    static JSONValue object(Object members);
    static JSONValue array(Array elements);

    Kind kind() const { return m_kind; }
    bool isNull() const { return m_kind == Kind::null; }
    bool isString() const { return m_kind == Kind::string; }
    bool isNumber() const { return m_kind == Kind::number; }
    bool isBool() const { return m_kind == Kind::boolean; }
    bool isObject() const { return m_kind == Kind::object; }
    bool isArray() const { return m_kind == Kind::array; }

    // The payload, or an empty/zero value when the kind differs.
    const QString &toString() const;
    double toNumber() const { return m_kind == Kind::number ? m_number : 0.0; }
    bool toBool() const { return m_kind == Kind::boolean && m_bool; }
    std::span<const Member> members() const; // sorted by key
    std::span<const JSONValue> elements() const;

    // The member under key, or nullptr (also when this is not an object).
    const JSONValue *find(QStringView key) const;
    // The member's text when it is a JSON string, else nullptr.
    const QString *stringAt(QStringView key) const;

    // Parses JSON text (any top-level value); nothing when the text is not JSON.
    static std::optional<JSONValue> fromJson(QByteArrayView json);

    // Indented JSON (4 spaces, keys sorted). A bare scalar renders as {"value": …}; null
    // renders as "null".
    QString pretty() const;
    // Compact JSON.
    QByteArray toJson() const;

    friend bool operator==(const JSONValue &a, const JSONValue &b);

private:
    struct Tree;
    bool isContainer() const { return m_kind == Kind::object || m_kind == Kind::array; }
    void takeContainer(JSONValue &other) noexcept;
    void releaseTree() noexcept;

    Kind m_kind = Kind::null;
    bool m_inTree = false; // a container slot of the tree it points into: holds no reference
    quint32 m_size = 0; // members or elements
    union {
        double m_number;
        bool m_bool;
        QString m_string;
        struct {
            const void *items; // Member[] for objects, JSONValue[] for arrays
            Tree *tree; // null for empty containers
        } m_container;
    };
};

// Lays out a tree of arrays and objects in one allocation, for decoders that count the
// slots of all its containers first. The containers are then made top-down, each from a
// slot of its parent (or the root value outside), and every slot is filled once.
class JSONValue::TreeBuilder
{
public:
    TreeBuilder(size_t members, size_t elements);
    ~TreeBuilder();
    TreeBuilder(const TreeBuilder &) = delete;
    TreeBuilder &operator=(const TreeBuilder &) = delete;

    // Makes slot an object of n members taken from the tree and gives them to fill; the
    // keys must be filled in sorted order and unique.
    std::span<Member> makeObject(JSONValue &slot, size_t n);
    // Makes slot an array of n elements taken from the tree and gives them to fill.
    std::span<JSONValue> makeArray(JSONValue &slot, size_t n);

private:
    void attach(JSONValue &slot, Kind kind, const void *items, size_t n);

    Tree *m_tree = nullptr;
    size_t m_membersUsed = 0;
    size_t m_elementsUsed = 0;
};

Q_DECLARE_METATYPE(JSONValue)
