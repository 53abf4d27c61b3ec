#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// One message as the notch overlay shows it.
struct NotchItem {
    QString sender; // handle without "@"
    QString title; // "@" + sender when the frame had no title
    QString body;
    std::optional<QString> codeText; // absent when the frame had none or an empty one
    std::optional<QString> msgId;
    QDateTime at; // arrival at the app, not the message's own time

    bool operator==(const NotchItem &) const = default;
};

enum class NotchState {
    hidden,
    compact,
    expanded,
};
