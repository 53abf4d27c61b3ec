#pragma once

#include <QByteArrayView>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

// A JSON value that never fails to decode: message content of any shape.
// Immutable and cheap to copy: objects and arrays are shared, never modified after
// construction, so copies may cross threads freely. Object keys are kept sorted (and
// unique, the last duplicate winning), which gives map equality and sorted rendering.
class JSONValue
{
public:
    enum class Kind { string, number, boolean, object, array, null };
    using Member = std::pair<QString, JSONValue>;
    using Object = std::vector<Member>; // for construction; any order
    using Array = std::vector<JSONValue>;

    JSONValue() = default; // null
    static JSONValue null() { return {}; }
    static JSONValue string(QString s);
    static JSONValue number(double d);
    static JSONValue boolean(bool b);
    // Sorts the members by key; of duplicate keys the last one is kept.
    static JSONValue object(Object members);
    static JSONValue array(Array elements);

    // Construction in place for decoders that know the size up front: fill(i, slot) sets
    // each of the n slots once. Objects are sorted afterwards like object() does.
    template<typename Fill>
    static JSONValue makeArray(size_t n, Fill &&fill)
    {
        auto items = std::make_shared<JSONValue[]>(n);
        for (size_t i = 0; i < n; ++i)
            fill(i, items[i]);
        JSONValue v;
        v.m_kind = Kind::array;
        v.m_size = static_cast<quint32>(n);
        v.m_items = std::shared_ptr<const void>(std::move(items));
        return v;
    }
    template<typename Fill>
    static JSONValue makeObject(size_t n, Fill &&fill)
    {
        auto items = std::make_shared<Member[]>(n);
        for (size_t i = 0; i < n; ++i)
            fill(i, items[i]);
        return fromMembers(std::move(items), n);
    }

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

    // A plain tree for serializers: QString, double, bool, QVariantMap, QVariantList, and
    // QVariant::fromValue(nullptr) for null.
    QVariant toFoundation() const;
    // Indented JSON (4 spaces, keys sorted). A bare scalar renders as {"value": …}; null
    // renders as "null".
    QString pretty() const;
    // Compact JSON.
    QByteArray toJson() const;

    friend bool operator==(const JSONValue &a, const JSONValue &b);

private:
    static JSONValue fromMembers(std::shared_ptr<Member[]> items, size_t n);

    Kind m_kind = Kind::null;
    bool m_bool = false;
    quint32 m_size = 0; // members or elements
    double m_number = 0.0;
    QString m_string;
    std::shared_ptr<const void> m_items; // Member[] for objects, JSONValue[] for arrays
};

Q_DECLARE_METATYPE(JSONValue)
