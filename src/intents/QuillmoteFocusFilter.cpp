#include "intents/QuillmoteFocusFilter.h"

#include "core/Log.h"
#include "core/SettingsStore.h"

namespace QuillmoteFocusFilter {

QString title()
{
    return QStringLiteral("Quillmote 消息过滤");
}
QString parameterTitle()
{
    return QStringLiteral("允许 Quillmote 消息破限");
}

QString parameterSummary(bool allowBreakthrough)
{
    return QStringLiteral("在此专注模式下，允许 Quillmote 消息破限：")
        + (allowBreakthrough ? QStringLiteral("开") : QStringLiteral("关"));
}

QString displayRepresentation(bool allowBreakthrough)
{
    return allowBreakthrough ? QStringLiteral("Quillmote：允许破限") : QStringLiteral("Quillmote：跟随专注静音");
}

bool breakthroughChoice()
{
    const auto v = SettingsStore::value(QString::fromLatin1(choiceKey));
    return v && v->toBool();
}

std::optional<bool> perform(bool allowBreakthrough)
{
    if (!SettingsStore::flag(SettingsStore::Key::focusFilter)) {
        // The recorded value stays as it was, so turning the feature back on restores it.
        Log::debug(Log::Category::intents,
            QStringLiteral("QuillmoteFocusFilter: focusFilterEnabled=false → inert (no effect)."));
        return std::nullopt;
    }
    Log::info(Log::Category::intents,
        QStringLiteral("QuillmoteFocusFilter: enabled, recorded allowBreakthrough=%1")
            .arg(Log::boolText(allowBreakthrough)));
    return allowBreakthrough;
}

} // namespace QuillmoteFocusFilter
