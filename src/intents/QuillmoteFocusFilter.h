#pragma once

#include <QString>

// Records whether messages may break through do-not-disturb. The desktop's do-not-disturb
// watcher runs perform() on every change with the user's choice; the filter does nothing
// unless the feature is switched on ("quillmote.focusFilterEnabled").
namespace QuillmoteFocusFilter {

inline constexpr const char *recordedKey = "quillmote.focusFilter.allowBreakthrough";
// The user's choice in the preferences: the value perform() records while the feature is on.
inline constexpr const char *choiceKey = "quillmote.focusFilter.breakthroughChoice";

QString title(); // "Quillmote 消息过滤"
QString parameterTitle(); // "允许 Quillmote 消息破限"
QString parameterSummary(bool allowBreakthrough);
QString displayRepresentation(bool allowBreakthrough);

// The user's choice (default: follow do-not-disturb).
bool breakthroughChoice();

void perform(bool allowBreakthrough);

} // namespace QuillmoteFocusFilter
