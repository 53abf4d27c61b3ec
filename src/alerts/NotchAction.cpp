#include "alerts/NotchAction.h"

#include <array>
#include <utility>

namespace {
constexpr std::array<std::pair<NotchAction::Kind, const char *>, 9> kNames { {
    { NotchAction::Kind::expand, "expand" },
    { NotchAction::Kind::dismiss, "dismiss" },
    { NotchAction::Kind::copyBody, "copyBody" },
    { NotchAction::Kind::copyCode, "copyCode" },
    { NotchAction::Kind::beginReply, "beginReply" },
    { NotchAction::Kind::cancelReply, "cancelReply" },
    { NotchAction::Kind::fill, "fill" },
    { NotchAction::Kind::openApp, "openApp" },
    { NotchAction::Kind::submitReply, "submitReply" },
} };
}

std::optional<NotchAction> NotchAction::fromName(const QString &name, const QString &text)
{
    for (const auto &[kind, n] : kNames) {
        if (name == QLatin1String(n))
            return NotchAction { kind, kind == Kind::submitReply ? text : QString() };
    }
    return std::nullopt;
}

QString NotchAction::name(Kind kind)
{
    for (const auto &[k, n] : kNames) {
        if (k == kind)
            return QString::fromLatin1(n);
    }
    return {};
}
