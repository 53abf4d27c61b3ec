#include "model/PanelState.h"

#include "core/JsonField.h"

#include "model/JSONTreeReader.h"
#include "model/StringInterner.h"

#include <QHash>

#include <simdjson.h>

#include <charconv>
#include <cmath>
#include <string>
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

// The length of the JSON number at the start of `text`, or 0 when it is not one.
size_t numberLength(std::string_view text)
{
    size_t i = 0;
    const auto digits = [&] {
        const size_t from = i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9')
            ++i;
        return i - from;
    };
    if (i < text.size() && text[i] == '-')
        ++i;
    if (i < text.size() && text[i] == '0')
        ++i;
    else if (digits() == 0)
        return 0;
    if (i < text.size() && text[i] == '.' && (++i, digits() == 0))
        return 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-'))
            ++i;
        if (digits() == 0)
            return 0;
    }
    return i;
}

// Whether a number from_chars finds out of range is too large (and not too small).
bool beyondDoubles(std::string_view number)
{
    const size_t e = number.find_first_of("eE");
    const std::string_view mantissa = number.substr(0, e);
    // The decimal exponent of the first significant digit, roughly: enough to tell ±300 apart.
    long long magnitude = 0;
    const size_t first = mantissa.find_first_of("123456789");
    const size_t point = std::min(mantissa.find('.'), mantissa.size());
    if (first != std::string_view::npos)
        magnitude = first < point ? (long long)(point - first) : -(long long)(first - point);
    if (e != std::string_view::npos) {
        std::string_view exponent = number.substr(e + 1);
        const bool negative = !exponent.empty() && exponent[0] == '-';
        if (!exponent.empty() && (exponent[0] == '-' || exponent[0] == '+'))
            exponent.remove_prefix(1);
        long long value = 0;
        for (const char d : exponent)
            value = std::min(value * 10 + (d - '0'), 1'000'000'000LL);
        magnitude += negative ? -value : value;
    }
    return magnitude > 0;
}

// simdjson refuses integers beyond 64 bits and numbers beyond a double's range, and with
// them the whole document. The server writes whatever a message's content holds, so such a
// document is read again with each of those numbers rewritten: one a double can hold as
// that double, one beyond its range as null. Nothing else changes; text that is not JSON
// stays not JSON. Empty when there is nothing to rewrite.
std::optional<std::string> withNumbersInRange(std::string_view json)
{
    std::string out;
    size_t copied = 0;
    for (size_t i = 0; i < json.size();) {
        const char c = json[i];
        if (c == '"') { // skip the string, escapes and all
            for (++i; i < json.size() && json[i] != '"'; ++i) {
                if (json[i] == '\\')
                    ++i;
            }
            ++i;
            continue;
        }
        if (c != '-' && (c < '0' || c > '9')) {
            ++i;
            continue;
        }
        size_t length = numberLength(json.substr(i));
        if (length == 0) {
            ++i;
            continue;
        }
        const std::string_view number = json.substr(i, length);
        const bool integer = number.find_first_of(".eE") == std::string_view::npos;
        double value = 0;
        std::string replacement;
        if (std::from_chars(number.data(), number.data() + number.size(), value).ec == std::errc()) {
            if (integer && number.size() > 19) {
                char buffer[32];
                const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific);
                replacement.assign(buffer, result.ptr);
            }
        } else if (beyondDoubles(number)) {
            replacement = "null";
        } // else too small to tell from zero, which simdjson reads itself
        if (!replacement.empty()) {
            out.append(json.substr(copied, i - copied));
            out += replacement;
            copied = i + length;
        }
        i += length;
    }
    if (copied == 0)
        return std::nullopt;
    out.append(json.substr(copied));
    return out;
}

// One parser per thread: it keeps its buffers between documents and is never shared.
simdjson::dom::parser &threadParser()
{
    thread_local simdjson::dom::parser parser;
    return parser;
}

// Parses with the thread's parser, reading numbers out of simdjson's range as above.
simdjson::error_code parseDocument(QByteArrayView json, element &root)
{
    simdjson::dom::parser &parser = threadParser();
    simdjson::error_code err = parser.parse(json.data(), static_cast<size_t>(json.size()), true).get(root);
    if (err == simdjson::NUMBER_ERROR) {
        if (const auto rewritten = withNumbersInRange(std::string_view(json.data(), size_t(json.size()))))
            err = parser.parse(*rewritten).get(root);
    }
    return err;
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
    element root;
    if (const auto err = parseDocument(json, root))
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
    element root;
    if (parseDocument(json, root))
        return std::nullopt;
    StringInterner interner;
    return JSONTreeReader(interner).read(root);
}
