#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// The socket link's vocabulary: one JSON object per line, told apart by "type".

// Tool → app. Decoded only.
struct NotifyFrame {
    QString type;
    QString sender;
    std::optional<QString> title;
    QString body;
    std::optional<QString> msgId;
    std::optional<bool> focused;
    std::optional<bool> hasCode;
    std::optional<QString> codeText;

    bool operator==(const NotifyFrame &) const = default;
};

// App → tool: the user answered a message. Encoded only; "type" is always "reply".
struct ReplyFrame {
    QString sender;
    QString text;
    std::optional<QString> msgId;

    bool operator==(const ReplyFrame &) const = default;
};

// App → tool: text for the terminal's prompt, not run. Encoded only; "type" is "fill".
struct FillFrame {
    QString text;
    std::optional<QString> msgId;

    bool operator==(const FillFrame &) const = default;
};

namespace Frames {

// A line's bytes (without the newline) to a frame of any type, or nothing when the line
// is not a JSON object with the required keys of the right JSON types.
std::optional<NotifyFrame> decodeNotify(QByteArrayView line);
// The same, parsing the bytes where they are: they are overwritten, and line[size] (one past
// the line, where its newline was) must be writable too.
std::optional<NotifyFrame> decodeNotifyInPlace(char *line, qsizetype size);

// Compact JSON, keys in declaration order, "msgId" left out when absent, "/" written as
// "\/" like the tool's own encoder. No trailing newline.
QByteArray encode(const ReplyFrame &frame);
QByteArray encode(const FillFrame &frame);

// A JSON string literal with that escaping (exposed for tests).
void appendJsonString(QByteArray &out, const QString &value);

} // namespace Frames
