#include "ipc/Frames.h"

#include "core/JsonField.h"

#include <rapidjson/document.h>

namespace Frames {
namespace {

using Value = rapidjson::Value;

QString toQString(const Value &v)
{
    return QString::fromUtf8(v.GetString(), qsizetype(v.GetStringLength()));
}

// RapidJSON's values for JsonField; a member that is not there is a null pointer.
struct Json {
    static bool isAbsent(const Value *v) { return !v; }
    static bool isNull(const Value *v) { return v->IsNull(); }
    static bool get(const Value *v, QString &out)
    {
        if (!v->IsString())
            return false;
        out = toQString(*v);
        return true;
    }
    static bool get(const Value *v, bool &out)
    {
        if (!v->IsBool())
            return false;
        out = v->GetBool();
        return true;
    }
};

const Value *member(const Value &o, const char *key)
{
    const auto it = o.FindMember(key);
    return it == o.MemberEnd() ? nullptr : &it->value;
}

// `,"key":"value"`, without the comma after the opening brace.
void appendField(QByteArray &out, const char *key, const QString &value)
{
    if (out.size() > 1)
        out += ',';
    out += '"';
    out += key;
    out += "\":";
    appendJsonString(out, value);
}

} // namespace

std::optional<NotifyFrame> decodeNotify(QByteArrayView line)
{
    // RapidJSON (header-only) parses a frame several times faster than QJsonDocument,
    // which matters when many terminals report at once.
    rapidjson::Document doc;
    // Invalid UTF-8 and anything but blanks after the object make the line invalid.
    doc.Parse<rapidjson::kParseValidateEncodingFlag>(line.data(), size_t(line.size()));
    if (doc.HasParseError() || !doc.IsObject())
        return std::nullopt;
    NotifyFrame f;
    const Json json;
    const auto field = [&doc](const char *key) { return member(doc, key); };
    if (!JsonField::required(json, field("type"), f.type) || !JsonField::required(json, field("sender"), f.sender)
        || !JsonField::optional(json, field("title"), f.title) || !JsonField::required(json, field("body"), f.body)
        || !JsonField::optional(json, field("msgId"), f.msgId)
        || !JsonField::optional(json, field("focused"), f.focused)
        || !JsonField::optional(json, field("hasCode"), f.hasCode)
        || !JsonField::optional(json, field("codeText"), f.codeText))
        return std::nullopt;
    return f;
}

void appendJsonString(QByteArray &out, const QString &value)
{
    static const char hex[] = "0123456789abcdef";
    const QByteArray utf8 = value.toUtf8();
    out.reserve(out.size() + utf8.size() + 2);
    out += '"';
    for (const char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '/':
            out += "\\/";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (c < 0x20) {
                out += "\\u00";
                out += hex[c >> 4];
                out += hex[c & 0xF];
            } else {
                out += ch;
            }
        }
    }
    out += '"';
}

QByteArray encode(const ReplyFrame &frame)
{
    QByteArray out = "{";
    appendField(out, "type", QStringLiteral("reply"));
    appendField(out, "sender", frame.sender);
    appendField(out, "text", frame.text);
    if (frame.msgId)
        appendField(out, "msgId", *frame.msgId);
    return out += '}';
}

QByteArray encode(const FillFrame &frame)
{
    QByteArray out = "{";
    appendField(out, "type", QStringLiteral("fill"));
    appendField(out, "text", frame.text);
    if (frame.msgId)
        appendField(out, "msgId", *frame.msgId);
    return out += '}';
}

} // namespace Frames
