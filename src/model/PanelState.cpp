#include "model/PanelState.h"

#include "model/StringInterner.h"

#include <QHash>
#include <QVarLengthArray>

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// Decoding works on simdjson's DOM: the document is validated as a whole first (a broken
// document must fail, not half-decode), then each record is read in one pass over its
// members. bench/bench_state_decode measures this against the plain parse.

namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

QString text(std::string_view sv) { return QString::fromUtf8(sv.data(), static_cast<qsizetype>(sv.size())); }

bool isContainer(element e)
{
    const element_type type = e.type();
    return type == element_type::ARRAY || type == element_type::OBJECT;
}

// The member and element slots of the tree under e, for JSONValue::TreeBuilder.
void countSlots(element e, size_t &members, size_t &elements)
{
    if (e.type() == element_type::ARRAY) {
        const simdjson::dom::array a = e.get_array().value_unsafe();
        elements += a.size();
        for (const element child : a) {
            if (isContainer(child))
                countSlots(child, members, elements);
        }
    } else if (e.type() == element_type::OBJECT) {
        const simdjson::dom::object o = e.get_object().value_unsafe();
        members += o.size();
        for (const auto field : o) {
            if (isContainer(field.value))
                countSlots(field.value, members, elements);
        }
    }
}

// JSONValue keeps keys in QString order (UTF-16 code units). On UTF-8 bytes that is byte
// order, except where a character from U+E000 on meets one beyond U+FFFF, so the bytes
// decide when they first differ in ASCII and the QStrings decide otherwise.
bool keyLess(std::string_view a, std::string_view b, StringInterner &interner)
{
    const auto [ia, ib] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (ib == b.end())
        return false;
    if (ia == a.end())
        return true;
    const auto ca = static_cast<unsigned char>(*ia), cb = static_cast<unsigned char>(*ib);
    if ((ca | cb) < 0x80)
        return ca < cb;
    return interner.get(a) < interner.get(b);
}

// Objects are mostly small: insertion sort, in place and stable.
template<typename It, typename Less>
void sortStable(It first, It last, Less less)
{
    if (last - first > 16) {
        std::stable_sort(first, last, less);
        return;
    }
    for (It i = first; i != last; ++i) {
        for (It k = i; k != first && less(*k, *(k - 1)); --k)
            std::iter_swap(k, k - 1);
    }
}

void fill(element e, JSONValue &slot, JSONValue::TreeBuilder &tree, StringInterner &interner)
{
    switch (e.type()) {
    case element_type::NULL_VALUE: break;
    case element_type::BOOL: slot = JSONValue::boolean(e.get_bool().value_unsafe()); break;
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE: slot = JSONValue::number(e.get_double().value_unsafe()); break;
    case element_type::STRING: slot = JSONValue::string(interner.maybe(e.get_string().value_unsafe())); break;
    case element_type::ARRAY: {
        const simdjson::dom::array a = e.get_array().value_unsafe();
        const std::span<JSONValue> items = tree.makeArray(slot, a.size());
        auto item = items.begin();
        for (const element child : a)
            fill(child, *item++, tree, interner);
        break;
    }
    case element_type::OBJECT: {
        // Sorted by key before the members are made, stable so that of equal keys the last
        // one is found last and kept.
        struct Field {
            std::string_view key;
            element value;
        };
        const simdjson::dom::object o = e.get_object().value_unsafe();
        QVarLengthArray<Field, 16> fields;
        for (const auto field : o)
            fields.append({field.key, field.value});
        const auto less = [&](const Field &x, const Field &y) { return keyLess(x.key, y.key, interner); };
        sortStable(fields.begin(), fields.end(), less);
        // Sorted, a key equals the next one unless it is less.
        QVarLengthArray<bool, 16> twin(fields.size());
        qsizetype unique = fields.size();
        for (qsizetype k = 0; k < fields.size(); ++k) {
            twin[k] = k + 1 < fields.size() && !less(fields[k], fields[k + 1]);
            unique -= twin[k];
        }
        const std::span<JSONValue::Member> members = tree.makeObject(slot, static_cast<size_t>(unique));
        auto member = members.begin();
        for (qsizetype k = 0; k < fields.size(); ++k) {
            if (twin[k])
                continue;
            member->first = interner.get(fields[k].key);
            fill(fields[k].value, member->second, tree, interner);
            ++member;
        }
        break;
    }
    }
}

// Any JSON value; the arrays and objects under e become one tree.
JSONValue toValue(element e, StringInterner &interner)
{
    size_t members = 0, elements = 0;
    countSlots(e, members, elements);
    JSONValue::TreeBuilder tree(members, elements);
    JSONValue value;
    fill(e, value, tree, interner);
    return value;
}

bool readString(element e, QString &out)
{
    std::string_view sv;
    if (e.get_string().get(sv) != simdjson::SUCCESS)
        return false;
    out = text(sv);
    return true;
}

bool readString(element e, QString &out, StringInterner &interner)
{
    std::string_view sv;
    if (e.get_string().get(sv) != simdjson::SUCCESS)
        return false;
    out = interner.get(sv);
    return true;
}

// null reads as absent; any other non-string is a failure.
bool readOptionalString(element e, std::optional<QString> &out, StringInterner &interner)
{
    if (e.is_null()) {
        out.reset();
        return true;
    }
    QString s;
    if (!readString(e, s, interner))
        return false;
    out = std::move(s);
    return true;
}

// A handle and a fingerprint, both required; contacts also read an optional status.
bool decodeIdentity(element e, QString &handle, QString &fingerprint, std::optional<QString> *status = nullptr,
                    StringInterner *interner = nullptr)
{
    simdjson::dom::object o;
    if (e.get_object().get(o) != simdjson::SUCCESS)
        return false;
    bool hasHandle = false, hasFingerprint = false;
    for (const auto field : o) {
        if (field.key == "handle") {
            if (!readString(field.value, handle))
                return false;
            hasHandle = true;
        } else if (field.key == "fingerprint") {
            if (!readString(field.value, fingerprint))
                return false;
            hasFingerprint = true;
        } else if (status && field.key == "status") {
            if (!readOptionalString(field.value, *status, *interner))
                return false;
        }
    }
    return hasHandle && hasFingerprint;
}

bool decodeRecord(element e, SelfInfo &out, StringInterner &) { return decodeIdentity(e, out.handle, out.fingerprint); }
bool decodeRecord(element e, PendingConnect &out, StringInterner &) { return decodeIdentity(e, out.handle, out.fingerprint); }
bool decodeRecord(element e, Contact &out, StringInterner &interner)
{
    return decodeIdentity(e, out.handle, out.fingerprint, &out.status, &interner);
}

bool decodeRecord(element e, Message &out, StringInterner &interner)
{
    simdjson::dom::object o;
    if (e.get_object().get(o) != simdjson::SUCCESS)
        return false;
    enum : unsigned { id = 1, peer = 2, direction = 4, type = 8, createdAt = 16, content = 32, all = 63 };
    unsigned seen = 0;
    for (const auto field : o) {
        const std::string_view key = field.key;
        bool ok = true;
        if (key == "id") {
            ok = readString(field.value, out.id);
            seen |= id;
        } else if (key == "peer") {
            ok = readString(field.value, out.peer, interner);
            seen |= peer;
        } else if (key == "direction") {
            ok = readString(field.value, out.direction, interner);
            seen |= direction;
        } else if (key == "type") {
            ok = readString(field.value, out.type, interner);
            seen |= type;
        } else if (key == "status") {
            ok = readOptionalString(field.value, out.status, interner);
        } else if (key == "createdAt") {
            ok = readString(field.value, out.createdAt);
            seen |= createdAt;
        } else if (key == "content") {
            out.content = toValue(field.value, interner);
            seen |= content;
        }
        if (!ok)
            return false;
    }
    return seen == all;
}

// All or nothing: a missing key, a non-array or one bad element gives an empty list.
template<typename T>
QList<T> decodeArray(simdjson::dom::object document, std::string_view key, StringInterner &interner)
{
    simdjson::dom::array a;
    if (document.at_key(key).get_array().get(a) != simdjson::SUCCESS)
        return {};
    QList<T> out;
    out.reserve(static_cast<qsizetype>(a.size()));
    for (element e : a) {
        if (!decodeRecord(e, out.emplaceBack(), interner))
            return {};
    }
    return out;
}

// One parser per thread: it keeps its buffers between documents and is never shared.
simdjson::dom::parser &threadParser()
{
    thread_local simdjson::dom::parser parser;
    return parser;
}

} // namespace

void PanelState::shareUnchanged(const PanelState &previous)
{
    // New messages are usually appended, so most match the previous one at the same index;
    // the others are looked up by id.
    QHash<QString, const Message *> byId;
    for (qsizetype i = 0; i < messages.size(); ++i) {
        Message &m = messages[i];
        const Message *old = nullptr;
        if (i < previous.messages.size() && previous.messages[i].id == m.id) {
            old = &previous.messages[i];
        } else {
            if (byId.isEmpty()) {
                byId.reserve(previous.messages.size());
                for (const Message &p : previous.messages)
                    byId.insert(p.id, &p);
            }
            old = byId.value(m.id);
        }
        if (old && *old == m)
            m = *old;
    }
    for (qsizetype i = 0; i < contacts.size() && i < previous.contacts.size(); ++i) {
        if (contacts[i] == previous.contacts[i])
            contacts[i] = previous.contacts[i];
    }
}

void PanelState::releaseDecodeBuffers() { threadParser() = simdjson::dom::parser{}; }

std::optional<PanelState> PanelState::decode(QByteArrayView json, QString *error)
{
    const auto fail = [error](const QString &why) -> std::optional<PanelState> {
        if (error)
            *error = why;
        return std::nullopt;
    };

    if (json.isEmpty())
        return fail(QStringLiteral("not JSON: empty body"));
    simdjson::dom::parser &parser = threadParser();
    element root;
    if (const auto err = parser.parse(json.data(), static_cast<size_t>(json.size()), true).get(root))
        return fail(QStringLiteral("not JSON: %1").arg(QLatin1String(simdjson::error_message(err))));
    simdjson::dom::object document;
    if (root.get_object().get(document) != simdjson::SUCCESS)
        return fail(QStringLiteral("not a JSON object"));

    PanelState state;
    StringInterner interner;
    element member;
    if (document.at_key("self").get(member) == simdjson::SUCCESS && !member.is_null()) {
        SelfInfo self;
        if (!decodeRecord(member, self, interner))
            return fail(QStringLiteral("\"self\" is not an identity record"));
        state.selfInfo = std::move(self);
    }
    if (document.at_key("handle").get(member) == simdjson::SUCCESS && !member.is_null()) {
        QString handle;
        if (!readString(member, handle))
            return fail(QStringLiteral("\"handle\" is not a string"));
        state.handle = std::move(handle);
    }
    state.contacts = decodeArray<Contact>(document, "contacts", interner);
    state.messages = decodeArray<Message>(document, "messages", interner);
    state.pending = decodeArray<PendingConnect>(document, "pending", interner);
    return state;
}

std::optional<JSONValue> JSONValue::fromJson(QByteArrayView json)
{
    if (json.isEmpty())
        return std::nullopt;
    thread_local simdjson::dom::parser parser;
    element root;
    if (parser.parse(json.data(), static_cast<size_t>(json.size()), true).get(root))
        return std::nullopt;
    StringInterner interner;
    return toValue(root, interner);
}
