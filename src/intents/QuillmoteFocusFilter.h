#pragma once

#include <QString>

#include <optional>

// Decides whether messages may break through do-not-disturb. The desktop's do-not-disturb
// watcher runs perform() on every change with the user's choice and keeps what it
// records; the filter does nothing unless the feature is switched on
// ("quillmote.focusFilterEnabled").
namespace QuillmoteFocusFilter {

// The user's choice in the preferences: the value perform() records while the feature is on.
inline constexpr const char *choiceKey = "quillmote.focusFilter.breakthroughChoice";

QString title(); // "Quillmote 消息过滤"
QString parameterTitle(); // "允许 Quillmote 消息破限"
QString parameterSummary(bool allowBreakthrough);
QString displayRepresentation(bool allowBreakthrough);

// The user's choice (default: follow do-not-disturb).
bool breakthroughChoice();

// The value to record, or nothing while the feature is off (the last record stands).
std::optional<bool> perform(bool allowBreakthrough);

} // namespace QuillmoteFocusFilter
