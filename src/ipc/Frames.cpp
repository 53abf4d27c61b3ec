#include "ipc/Frames.h"

#include <rapidjson/document.h>

namespace Frames {
namespace {

using Value = rapidjson::Value;

QString toQString(const Value &v)
{
    return QString::fromUtf8(v.GetString(), qsizetype(v.GetStringLength()));
}

// Absent and null both count as absent; any other non-string makes the frame invalid.
bool optionalString(const Value &o, const char *key, std::optional<QString> &out)
{
    const auto it = o.FindMember(key);
    if (it == o.MemberEnd() || it->value.IsNull())
        return true;
    if (!it->value.IsString())
        return false;
    out = toQString(it->value);
    return true;
}

bool optionalBool(const Value &o, const char *key, std::optional<bool> &out)
{
    const auto it = o.FindMember(key);
    if (it == o.MemberEnd() || it->value.IsNull())
        return true;
    if (!it->value.IsBool())
        return false;
    out = it->value.GetBool();
    return true;
}

bool requiredString(const Value &o, const char *key, QString &out)
{
    const auto it = o.FindMember(key);
    if (it == o.MemberEnd() || !it->value.IsString())
        return false;
    out = toQString(it->value);
    return true;
}

void appendKey(QByteArray &out, const char *key)
{
    out += '"';
    out += key;
    out += "\":";
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
    if (!requiredString(doc, "type", f.type) || !requiredString(doc, "sender", f.sender)
        || !optionalString(doc, "title", f.title) || !requiredString(doc, "body", f.body)
        || !optionalString(doc, "msgId", f.msgId) || !optionalBool(doc, "focused", f.focused)
        || !optionalBool(doc, "hasCode", f.hasCode) || !optionalString(doc, "codeText", f.codeText))
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
    QByteArray out = "{\"type\":\"reply\",";
    appendKey(out, "sender");
    appendJsonString(out, frame.sender);
    out += ',';
    appendKey(out, "text");
    appendJsonString(out, frame.text);
    if (frame.msgId) {
        out += ',';
        appendKey(out, "msgId");
        appendJsonString(out, *frame.msgId);
    }
    out += '}';
    return out;
}

QByteArray encode(const FillFrame &frame)
{
    QByteArray out = "{\"type\":\"fill\",";
    appendKey(out, "text");
    appendJsonString(out, frame.text);
    if (frame.msgId) {
        out += ',';
        appendKey(out, "msgId");
        appendJsonString(out, *frame.msgId);
    }
    out += '}';
    return out;
}

} // namespace Frames
