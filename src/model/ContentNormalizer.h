#pragma once

#include "model/ContentPart.h"

#include <QList>
#include <QVariantMap>

// A message's free-form content made usable without knowing its shape. Pure; never fails.
namespace ContentNormalizer {

// The typed parts; never empty (content without usable parts becomes one data part).
QList<ContentPart> parts(const JSONValue &content);

// One line for conversation lists; not shortened (views clip it).
QString preview(const QString &type, const JSONValue &content);

// Every searchable text of the content, joined by blanks and lowercased.
QString searchText(const JSONValue &content);

// One part as a map for QML: "kind" ("text", "code", "file", "image", "data", "tool_call",
// "tool_result", "unknown") and the part's fields under their own names, absent ones left out;
// JSON payloads are given as their pretty rendering.
QVariantMap toVariantMap(const ContentPart &part);

} // namespace ContentNormalizer
