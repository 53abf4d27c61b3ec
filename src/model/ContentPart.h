#pragma once

#include "model/JSONValue.h"

#include <QString>
#include <QVariantMap>

#include <optional>
#include <variant>

// One typed piece of a message's content, for rendering a bubble. The alternatives are in
// the order the views switch over them.
struct TextPart {
    QString text;
    friend bool operator==(const TextPart &, const TextPart &) = default;
};
struct CodePart {
    QString code;
    std::optional<QString> lang;
    std::optional<QString> path;
    friend bool operator==(const CodePart &, const CodePart &) = default;
};
struct FilePart {
    QString name;
    std::optional<QString> mime;
    std::optional<double> bytes;
    std::optional<QString> dataBase64;
    friend bool operator==(const FilePart &, const FilePart &) = default;
};
struct ImagePart {
    std::optional<QString> mime;
    std::optional<double> bytes;
    std::optional<QString> dataBase64;
    std::optional<QString> alt;
    friend bool operator==(const ImagePart &, const ImagePart &) = default;
};
struct DataPart {
    JSONValue json;
    std::optional<QString> mime;
    friend bool operator==(const DataPart &, const DataPart &) = default;
};
struct ToolCallPart {
    QString name;
    std::optional<JSONValue> args;
    std::optional<QString> callId;
    friend bool operator==(const ToolCallPart &, const ToolCallPart &) = default;
};
struct ToolResultPart {
    bool ok = false;
    std::optional<QString> callId;
    std::optional<JSONValue> result;
    std::optional<QString> error;
    friend bool operator==(const ToolResultPart &, const ToolResultPart &) = default;
};
struct UnknownPart {
    QString kind;
    JSONValue raw; // the whole part object
    friend bool operator==(const UnknownPart &, const UnknownPart &) = default;
};

using ContentPart
    = std::variant<TextPart, CodePart, FilePart, ImagePart, DataPart, ToolCallPart, ToolResultPart, UnknownPart>;

// The family of a message type string that gets a dedicated preview.
class MessageTypeFamily
{
public:
    enum Value { finding, task, artifact, discussion };
    // Case-insensitive prefix tests: "agent.finding", "agent.task", "artifact.", "agent.discussion".
    static std::optional<Value> of(QStringView type);
};
