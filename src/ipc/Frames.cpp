#include "ipc/Frames.h"

#include <QStringDecoder>

#include <rapidjson/reader.h>

#include <algorithm>
#include <string_view>

#include <sys/mman.h>

#ifndef MADV_COLLAPSE
#define MADV_COLLAPSE 25 // Linux 6.1; glibc's headers lag behind
#endif

namespace Frames {
namespace {

// Room for `units` UTF-16 units, with its memory mapped in advance. In a virtual machine the
// first touch of each fresh page is dear: on the Firecracker VM we measure on, it is a trip to
// the host (about 20 µs), and QString::fromUtf8 of a 1 MB body took 10–15 ms, nearly all of it
// such faults. So a block of megabytes is asked for in a size glibc maps on its own as a whole
// number of 2 MiB pages, which the kernel places on a 2 MiB boundary, and its full 2 MiB pages
// are made huge pages at once (MADV_COLLAPSE: the allocator has already touched the first
// one, so a later fault could no longer get a huge page): one trip each. What is left, and any
// block placed otherwise, is faulted in by one call. Both are hints; a kernel without them
// faults page by page as before.
QString preparedText(qsizetype units)
{
    constexpr qsizetype hugePage = 2 * 1024 * 1024;
    constexpr qsizetype overhead = 64; // the allocator's and QString's headers, and the NUL
    const qsizetype bytes = units * qsizetype(sizeof(char16_t));
    QString out;
    if (bytes + overhead > hugePage) {
        const qsizetype pages = (bytes + overhead + hugePage - 1) / hugePage;
        out.reserve((pages * hugePage - overhead) / qsizetype(sizeof(char16_t)));
    }
    out.resize(units); // not initialised
    const auto start = reinterpret_cast<uintptr_t>(out.data());
    const uintptr_t end = start + uintptr_t(bytes);
    uintptr_t rest = start;
    const uintptr_t block = start & ~uintptr_t(hugePage - 1);
    if (start - block < overhead && end - block >= uintptr_t(hugePage)) {
        const uintptr_t whole = (end - block) & ~uintptr_t(hugePage - 1);
        if (::madvise(reinterpret_cast<void *>(block), whole, MADV_COLLAPSE) == 0)
            rest = block + whole;
    }
    constexpr uintptr_t page = 4096;
    const uintptr_t from = rest & ~(page - 1), to = (end + page - 1) & ~(page - 1);
    if (to > from)
        ::madvise(reinterpret_cast<void *>(from), to - from, MADV_POPULATE_WRITE);
    return out;
}

// A string of the line as text; a long one is decoded into memory faulted in beforehand.
QString textOf(const char *s, qsizetype length)
{
    constexpr qsizetype longText = 64 * 1024;
    if (length < longText)
        return QString::fromUtf8(s, length);
    // The line is valid UTF-8 (checked before parsing): one UTF-16 unit per character
    // that does not start with a continuation byte, two for a four-byte one.
    qsizetype units = 0;
    for (qsizetype i = 0; i < length; ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        units += (c & 0xC0) != 0x80;
        units += c >= 0xF0;
    }
    QString out = preparedText(units);
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QChar *end = decoder.appendToBuffer(out.data(), QByteArrayView(s, length));
    out.truncate(end - out.constData());
    return out;
}

// Reads a notify frame straight from the parser's events, without building a document: only
// the top-level keys the frame knows are looked at, and the parser keeps its own stack, so
// no line can make it recurse. A value nested deeper than kMaxDepth stops the parse, as the
// platform's JSON readers refuse such lines too.
class NotifyHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, NotifyHandler>
{
public:
    enum Field { type, sender, title, body, msgId, focused, hasCode, codeText, fieldCount, other = -1 };

    NotifyFrame frame;
    bool seen[fieldCount] = {};
    bool isObject = false;

    bool StartObject()
    {
        if (m_depth == 0)
            isObject = true;
        return enter();
    }
    bool StartArray() { return enter(); }
    bool EndObject(rapidjson::SizeType)
    {
        --m_depth;
        return true;
    }
    bool EndArray(rapidjson::SizeType)
    {
        --m_depth;
        return true;
    }
    bool Key(const char *s, rapidjson::SizeType length, bool)
    {
        if (m_depth == 1)
            m_field = fieldOf(std::string_view(s, length));
        return true;
    }
    bool String(const char *s, rapidjson::SizeType length, bool)
    {
        if (!isObject)
            return false;
        QString *out = nullptr;
        switch (take(m_field)) {
        case other:
            return true;
        case type:
            out = &frame.type;
            break;
        case sender:
            out = &frame.sender;
            break;
        case body:
            out = &frame.body;
            break;
        case title:
            out = &frame.title.emplace();
            break;
        case msgId:
            out = &frame.msgId.emplace();
            break;
        case codeText:
            out = &frame.codeText.emplace();
            break;
        default:
            return false; // a string where a boolean belongs
        }
        *out = textOf(s, qsizetype(length));
        return true;
    }
    bool Bool(bool b)
    {
        if (!isObject)
            return false;
        switch (take(m_field)) {
        case other:
            return true;
        case focused:
            frame.focused = b;
            return true;
        case hasCode:
            frame.hasCode = b;
            return true;
        default:
            return false;
        }
    }
    bool Null()
    {
        if (!isObject)
            return false;
        const int field = take(m_field);
        // null is absent for the optional keys, wrong for the required ones
        return field != type && field != sender && field != body;
    }
    // Numbers, and containers under a known key, are always of the wrong type.
    bool Default() { return isObject && take(m_field) == other; }

    bool complete() const { return isObject && seen[type] && seen[sender] && seen[body]; }

private:
    static constexpr int kMaxDepth = 512;

    bool enter()
    {
        if (m_depth == 1 && take(m_field) != other)
            return false;
        return ++m_depth <= kMaxDepth;
    }
    // The field a value at the top level fills, once: of duplicate keys the first counts.
    int take(int &field)
    {
        if (m_depth != 1)
            return other;
        const int f = field;
        field = other;
        if (f == other || seen[f])
            return other;
        seen[f] = true;
        return f;
    }
    static int fieldOf(std::string_view key)
    {
        static constexpr std::string_view names[fieldCount]
            = { "type", "sender", "title", "body", "msgId", "focused", "hasCode", "codeText" };
        for (int i = 0; i < fieldCount; ++i) {
            if (names[i] == key)
                return i;
        }
        return other;
    }

    int m_depth = 0;
    int m_field = other;
};

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
    QByteArray copy(line.data(), line.size()); // with the NUL the parser stops at
    return decodeNotifyInPlace(copy.data(), copy.size());
}

std::optional<NotifyFrame> decodeNotifyInPlace(char *line, qsizetype size)
{
    // Only an object can be a frame: anything else is refused at once, however long.
    const QByteArrayView bytes(line, size);
    const qsizetype first = std::find_if(bytes.begin(), bytes.end(), [](char c) {
        return c != ' ' && c != '\t' && c != '\n' && c != '\r';
    }) - bytes.begin();
    if (first == size || line[first] != '{')
        return std::nullopt;
    // Invalid UTF-8 makes the line invalid. Checked for the whole line in one fast pass
    // instead of by the parser character by character: outside strings any byte above
    // ASCII is a syntax error anyway, so the lines refused are the same.
    if (!bytes.isValidUtf8())
        return std::nullopt;
    line[size] = '\0';
    // RapidJSON (header-only) parses a frame several times faster than QJsonDocument,
    // which matters when many terminals report at once. In place, strings are unescaped
    // where they stand instead of copied onto the parser's stack.
    NotifyHandler handler;
    rapidjson::InsituStringStream stream(line);
    rapidjson::Reader reader;
    // Anything but blanks after the object makes the line invalid.
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseInsituFlag;
    if (reader.Parse<flags>(stream, handler).IsError() || !handler.complete())
        return std::nullopt;
    // The parser takes a NUL byte for the end of its input: one after the object is noise.
    if (stream.Tell() != size_t(size))
        return std::nullopt;
    return std::move(handler.frame);
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
