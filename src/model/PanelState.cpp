#include "model/PanelState.h"

#include <simdjson.h>

#include <string_view>

// Decoding works on simdjson's DOM: the document is validated as a whole first (a broken
// document must fail, not half-decode), then each record is read in one pass over its
// members. bench/bench_state_decode measures this against the plain parse.

namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

QString text(std::string_view sv) { return QString::fromUtf8(sv.data(), static_cast<qsizetype>(sv.size())); }

JSONValue toValue(element e)
{
    switch (e.type()) {
    case element_type::NULL_VALUE: return JSONValue::null();
    case element_type::BOOL: return JSONValue::boolean(e.get_bool().value_unsafe());
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE: return JSONValue::number(e.get_double().value_unsafe());
    case element_type::STRING: return JSONValue::string(text(e.get_string().value_unsafe()));
    case element_type::ARRAY: {
        const simdjson::dom::array a = e.get_array().value_unsafe();
        JSONValue::Array elements;
        elements.reserve(a.size());
        for (element child : a)
            elements.push_back(toValue(child));
        return JSONValue::array(std::move(elements));
    }
    case element_type::OBJECT: {
        const simdjson::dom::object o = e.get_object().value_unsafe();
        JSONValue::Object members;
        members.reserve(o.size());
        for (const auto field : o)
            members.emplace_back(text(field.key), toValue(field.value));
        return JSONValue::object(std::move(members));
    }
    }
    return JSONValue::null();
}

bool readString(element e, QString &out)
{
    std::string_view sv;
    if (e.get_string().get(sv) != simdjson::SUCCESS)
        return false;
    out = text(sv);
    return true;
}

// null reads as absent; any other non-string is a failure.
bool readOptionalString(element e, std::optional<QString> &out)
{
    if (e.is_null()) {
        out.reset();
        return true;
    }
    QString s;
    if (!readString(e, s))
        return false;
    out = std::move(s);
    return true;
}

bool decodeIdentity(element e, QString &handle, QString &fingerprint)
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
        }
    }
    return hasHandle && hasFingerprint;
}

bool decodeRecord(element e, SelfInfo &out) { return decodeIdentity(e, out.handle, out.fingerprint); }
bool decodeRecord(element e, PendingConnect &out) { return decodeIdentity(e, out.handle, out.fingerprint); }

bool decodeRecord(element e, Contact &out)
{
    simdjson::dom::object o;
    if (e.get_object().get(o) != simdjson::SUCCESS)
        return false;
    bool hasHandle = false, hasFingerprint = false;
    for (const auto field : o) {
        if (field.key == "handle") {
            if (!readString(field.value, out.handle))
                return false;
            hasHandle = true;
        } else if (field.key == "fingerprint") {
            if (!readString(field.value, out.fingerprint))
                return false;
            hasFingerprint = true;
        } else if (field.key == "status") {
            if (!readOptionalString(field.value, out.status))
                return false;
        }
    }
    return hasHandle && hasFingerprint;
}

bool decodeRecord(element e, Message &out)
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
            ok = readString(field.value, out.peer);
            seen |= peer;
        } else if (key == "direction") {
            ok = readString(field.value, out.direction);
            seen |= direction;
        } else if (key == "type") {
            ok = readString(field.value, out.type);
            seen |= type;
        } else if (key == "status") {
            ok = readOptionalString(field.value, out.status);
        } else if (key == "createdAt") {
            ok = readString(field.value, out.createdAt);
            seen |= createdAt;
        } else if (key == "content") {
            out.content = toValue(field.value);
            seen |= content;
        }
        if (!ok)
            return false;
    }
    return seen == all;
}

// All or nothing: a missing key, a non-array or one bad element gives an empty list.
template<typename T>
QList<T> decodeArray(simdjson::dom::object document, std::string_view key)
{
    simdjson::dom::array a;
    if (document.at_key(key).get_array().get(a) != simdjson::SUCCESS)
        return {};
    QList<T> out;
    out.reserve(static_cast<qsizetype>(a.size()));
    for (element e : a) {
        T record;
        if (!decodeRecord(e, record))
            return {};
        out.append(std::move(record));
    }
    return out;
}

} // namespace

std::optional<PanelState> PanelState::decode(QByteArrayView json, QString *error)
{
    const auto fail = [error](const QString &why) -> std::optional<PanelState> {
        if (error)
            *error = why;
        return std::nullopt;
    };

    // One parser per thread: it keeps its buffers between documents and is never shared.
    thread_local simdjson::dom::parser parser;
    element root;
    if (const auto err = parser.parse(json.data(), static_cast<size_t>(json.size()), true).get(root))
        return fail(QStringLiteral("not JSON: %1").arg(QLatin1String(simdjson::error_message(err))));
    simdjson::dom::object document;
    if (root.get_object().get(document) != simdjson::SUCCESS)
        return fail(QStringLiteral("not a JSON object"));

    PanelState state;
    element member;
    if (document.at_key("self").get(member) == simdjson::SUCCESS && !member.is_null()) {
        SelfInfo self;
        if (!decodeRecord(member, self))
            return fail(QStringLiteral("\"self\" is not an identity record"));
        state.selfInfo = std::move(self);
    }
    if (document.at_key("handle").get(member) == simdjson::SUCCESS && !member.is_null()) {
        QString handle;
        if (!readString(member, handle))
            return fail(QStringLiteral("\"handle\" is not a string"));
        state.handle = std::move(handle);
    }
    state.contacts = decodeArray<Contact>(document, "contacts");
    state.messages = decodeArray<Message>(document, "messages");
    state.pending = decodeArray<PendingConnect>(document, "pending");
    return state;
}
