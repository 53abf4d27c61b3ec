#pragma once

#include "cli/CLIResult.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <optional>

// One parameter of an action. `name` is the key callers fill (and the D-Bus argument's
// name); `title` is what a prompt shows.
struct IntentParameter {
    enum class Kind {
        handle, // a handle, given with or without "@"
        text, // free text, passed as given
        days, // optional whole number (a share's lifetime)
        toggle, // on/off, required
        flag, // optional switch, off when absent
    };
    QString name {};
    QString title {};
    Kind kind = Kind::text;
    bool optional = false;
};

// The values of one call, read the way the actions need them: handles without "@",
// toggles from "on"/"off"/"true"/"false"/"1"/"0".
class IntentArguments
{
public:
    IntentArguments() = default;
    explicit IntentArguments(QVariantMap values)
        : m_values(std::move(values))
    {
    }

    QString text(const QString &name) const;
    QString handle(const QString &name) const;
    bool has(const QString &name) const;
    std::optional<bool> toggle(const QString &name) const;
    std::optional<qlonglong> number(const QString &name) const;
    const QVariantMap &values() const { return m_values; }

private:
    QVariantMap m_values;
};

// What an action makes of its tool run: the dialog and log line, or the CLIError.
struct ToolAnswer {
    std::optional<CLIError> error;
    QString dialog;
    QString logLine;

    static ToolAnswer fail(const CLIError &e) { return { e, {}, {} }; }
    static ToolAnswer ok(const QString &dialog, const QString &logLine) { return { std::nullopt, dialog, logLine }; }
};

enum class Confirmation { none, send, continue_ };

// Everything that sets one action apart from the others; the execution pattern around it
// is IntentsService's.
struct IntentDefinition {
    QString name {}; // "SendMessageIntent"
    QString title {}; // "发送消息"
    QList<IntentParameter> parameters {};
    // The parameter summary, with "{name}" standing for a parameter's value.
    QString summary {};
    Confirmation confirmation = Confirmation::none;
    std::function<QString(const IntentArguments &)> confirmationText {};
    // Authentication reason of the sensitive actions; empty: no gate.
    QString gateReason {};
    // The tool's arguments; an element "{name}" stands for a parameter's value as the summary
    // shows it. toolArguments instead when they take more than the values.
    QStringList command {};
    std::function<QStringList(const IntentArguments &)> toolArguments {};
    // What an action that only needs the tool to succeed answers then; `answer` instead for
    // the actions that read the tool's output.
    std::function<ToolAnswer(const IntentArguments &)> succeeded {};
    std::function<ToolAnswer(const IntentArguments &, const CLIOutcome<CLIResult> &)> answer {};

    // "SendMessage": the D-Bus method.
    QString methodName() const;
    // "send-message": the command-line name.
    QString commandName() const;
    // The first missing or unreadable parameter, as the user-facing message.
    std::optional<QString> validate(const IntentArguments &args) const;
    QString summaryFor(const IntentArguments &args) const;
    QStringList toolArgumentsFor(const IntentArguments &args) const;
    ToolAnswer answerFor(const IntentArguments &args, const CLIOutcome<CLIResult> &run) const;

private:
    QString valueOf(const IntentParameter &parameter, const IntentArguments &args) const;
};
