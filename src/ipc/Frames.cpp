#include "ipc/Frames.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

namespace Frames {
namespace {

// Absent and null both count as absent; any other non-string makes the frame invalid.
bool optionalString(const QJsonObject &o, QLatin1String key, std::optional<QString> &out)
{
    const QJsonValue v = o.value(key);
    if (v.isUndefined() || v.isNull())
        return true;
    if (!v.isString())
        return false;
    out = v.toString();
    return true;
}

bool optionalBool(const QJsonObject &o, QLatin1String key, std::optional<bool> &out)
{
    const QJsonValue v = o.value(key);
    if (v.isUndefined() || v.isNull())
        return true;
    if (!v.isBool())
        return false;
    out = v.toBool();
    return true;
}

bool requiredString(const QJsonObject &o, QLatin1String key, QString &out)
{
    const QJsonValue v = o.value(key);
    if (!v.isString())
        return false;
    out = v.toString();
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
    QJsonParseError err{};
    const QJsonDocument doc = QJsonDocument::fromJson(line.toByteArray(), &err);
    if (err.error != QJsonParseError::NoError || !doc.isObject())
        return std::nullopt;
    const QJsonObject o = doc.object();
    NotifyFrame f;
    if (!requiredString(o, QLatin1String("type"), f.type) || !requiredString(o, QLatin1String("sender"), f.sender)
        || !optionalString(o, QLatin1String("title"), f.title) || !requiredString(o, QLatin1String("body"), f.body)
        || !optionalString(o, QLatin1String("msgId"), f.msgId)
        || !optionalBool(o, QLatin1String("focused"), f.focused)
        || !optionalBool(o, QLatin1String("hasCode"), f.hasCode)
        || !optionalString(o, QLatin1String("codeText"), f.codeText))
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
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '/': out += "\\/"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
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
