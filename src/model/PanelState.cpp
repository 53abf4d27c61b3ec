#include "model/PanelState.h"

#include "core/JsonField.h"

#include "model/JSONTreeReader.h"
#include "model/StringInterner.h"

#include <QHash>

#include <simdjson.h>

#include <string_view>

// Decoding works on simdjson's DOM: the document is validated as a whole first (a broken
// document must fail, not half-decode), then each record is read in one pass over its
// members. bench/bench_state_decode measures this against the plain parse.

namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

QString text(std::string_view sv)
{
    return QString::fromUtf8(sv.data(), static_cast<qsizetype>(sv.size()));
}

// simdjson's elements for JsonField. Records are read member by member, so a member is
// never absent here: each record counts its required keys itself.
struct Json {
    StringInterner *interner = nullptr; // short texts of the document are shared through it

    static bool isAbsent(element) { return false; }
    static bool isNull(element e) { return e.is_null(); }
    bool get(element e, QString &out) const
    {
        std::string_view sv;
        if (e.get_string().get(sv) != simdjson::SUCCESS)
            return false;
        out = interner ? interner->get(sv) : text(sv);
        return true;
    }
};

// A handle and a fingerprint, both required; contacts also read an optional status.
bool decodeIdentity(element e, QString &handle, QString &fingerprint, std::optional<QString> *status = nullptr,
    const Json &statusJson = {})
{
    simdjson::dom::object o;
    if (e.get_object().get(o) != simdjson::SUCCESS)
        return false;
    bool hasHandle = false, hasFingerprint = false;
    for (const auto field : o) {
        if (field.key == "handle") {
            if (!JsonField::required(Json {}, field.value, handle))
                return false;
            hasHandle = true;
        } else if (field.key == "fingerprint") {
            if (!JsonField::required(Json {}, field.value, fingerprint))
                return false;
            hasFingerprint = true;
        } else if (status && field.key == "status") {
            if (!JsonField::optional(statusJson, field.value, *status))
                return false;
        }
    }
    return hasHandle && hasFingerprint;
}

// What the records of one document share.
struct Context {
    Context()
    {
        // The texts the app reads by name (content keys, part kinds, directions, states) are
        // static strings, whose copies count no references.
        for (const QString &known :
            { QStringLiteral("parts"), QStringLiteral("kind"), QStringLiteral("text"), QStringLiteral("code"),
                QStringLiteral("lang"), QStringLiteral("path"), QStringLiteral("name"), QStringLiteral("mime"),
                QStringLiteral("bytes"), QStringLiteral("data"), QStringLiteral("alt"), QStringLiteral("json"),
                QStringLiteral("args"), QStringLiteral("call_id"), QStringLiteral("ok"), QStringLiteral("result"),
                QStringLiteral("error"), QStringLiteral("title"), QStringLiteral("task"), QStringLiteral("filename"),
                QStringLiteral("file"), QStringLiteral("message"), QStringLiteral("content"), QStringLiteral("image"),
                QStringLiteral("tool_call"), QStringLiteral("tool_result"), QStringLiteral("in"), QStringLiteral("out"),
                QStringLiteral("queued"), QStringLiteral("sent"), QStringLiteral("delivered"), QStringLiteral("read"),
                QStringLiteral("failed"), QStringLiteral("connected") })
            interner.seed(known);
    }

    StringInterner interner;
    JSONTreeReader reader { interner };
};

bool decodeRecord(element e, SelfInfo &out, Context &)
{
    return decodeIdentity(e, out.handle, out.fingerprint);
}
bool decodeRecord(element e, PendingConnect &out, Context &)
{
    return decodeIdentity(e, out.handle, out.fingerprint);
}
bool decodeRecord(element e, Contact &out, Context &context)
{
    return decodeIdentity(e, out.handle, out.fingerprint, &out.status, Json { &context.interner });
}

bool decodeRecord(element e, Message &out, Context &context)
{
    const Json plain, interned { &context.interner };
    simdjson::dom::object o;
    if (e.get_object().get(o) != simdjson::SUCCESS)
        return false;
    enum : unsigned { id = 1, peer = 2, direction = 4, type = 8, createdAt = 16, content = 32, all = 63 };
    unsigned seen = 0;
    for (const auto field : o) {
        const std::string_view key = field.key;
        bool ok = true;
        if (key == "id") {
            ok = JsonField::required(plain, field.value, out.id);
            seen |= id;
        } else if (key == "peer") {
            ok = JsonField::required(interned, field.value, out.peer);
            seen |= peer;
        } else if (key == "direction") {
            ok = JsonField::required(interned, field.value, out.direction);
            seen |= direction;
        } else if (key == "type") {
            ok = JsonField::required(interned, field.value, out.type);
            seen |= type;
        } else if (key == "status") {
            ok = JsonField::optional(interned, field.value, out.status);
        } else if (key == "createdAt") {
            ok = JsonField::required(plain, field.value, out.createdAt);
            seen |= createdAt;
        } else if (key == "content") {
            out.content = context.reader.read(field.value);
            seen |= content;
        }
        if (!ok)
            return false;
    }
    return seen == all;
}

// All or nothing: a missing key, a non-array or one bad element gives an empty list.
template<typename T> QList<T> decodeArray(simdjson::dom::object document, std::string_view key, Context &context)
{
    simdjson::dom::array a;
    if (document.at_key(key).get_array().get(a) != simdjson::SUCCESS)
        return {};
    QList<T> out;
    out.reserve(static_cast<qsizetype>(a.size()));
    for (element e : a) {
        if (!decodeRecord(e, out.emplaceBack(), context))
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

void PanelState::releaseDecodeBuffers()
{
    threadParser() = simdjson::dom::parser {};
}

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
    Context context;
    element member;
    if (document.at_key("self").get(member) == simdjson::SUCCESS && !member.is_null()) {
        SelfInfo self;
        if (!decodeRecord(member, self, context))
            return fail(QStringLiteral("\"self\" is not an identity record"));
        state.selfInfo = std::move(self);
    }
    if (document.at_key("handle").get(member) == simdjson::SUCCESS && !member.is_null()) {
        QString handle;
        if (!Json {}.get(member, handle))
            return fail(QStringLiteral("\"handle\" is not a string"));
        state.handle = std::move(handle);
    }
    state.contacts = decodeArray<Contact>(document, "contacts", context);
    state.messages = decodeArray<Message>(document, "messages", context);
    state.pending = decodeArray<PendingConnect>(document, "pending", context);
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
    return JSONTreeReader(interner).read(root);
}
