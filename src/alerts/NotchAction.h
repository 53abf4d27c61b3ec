#pragma once

#include <QString>

#include <optional>

// A quick action the user took in the overlay. Only submitReply carries text.
struct NotchAction {
    enum class Kind {
        expand,
        dismiss,
        copyBody,
        copyCode,
        beginReply,
        cancelReply,
        fill,
        openApp,
        submitReply,
    };

    Kind kind = Kind::expand;
    QString text;

    static NotchAction submitReply(const QString &text) { return { Kind::submitReply, text }; }
    // The view names actions by their case name ("copyBody", "submitReply", …).
    static std::optional<NotchAction> fromName(const QString &name, const QString &text = {});
    static QString name(Kind kind);

    bool operator==(const NotchAction &) const = default;
};
