#pragma once

#include <QString>
#include <QStringList>

// Why a run of the command-line tool gave no usable answer. description() is the text the
// user sees (the actions show it as their error).
class CLIError
{
public:
    enum class Kind {
        binaryNotFound,
        nonZeroExit,
        malformedOutput,
        spawnFailed,
    };

    static CLIError binaryNotFound(const QStringList &tried);
    static CLIError nonZeroExit(int exitCode, const QString &standardError);
    static CLIError malformedOutput(const QString &standardOutput);
    static CLIError spawnFailed(const QString &message);

    Kind kind() const { return m_kind; }
    // binaryNotFound: every place looked at, in order.
    const QStringList &tried() const { return m_tried; }
    // nonZeroExit: the status.
    int exitCode() const { return m_exitCode; }
    // nonZeroExit: the raw standard error; malformedOutput: the raw standard output;
    // spawnFailed: the launch failure's message.
    const QString &text() const { return m_text; }

    QString description() const;

    bool operator==(const CLIError &) const = default;

private:
    CLIError(Kind kind)
        : m_kind(kind)
    {
    }
    Kind m_kind;
    QStringList m_tried;
    int m_exitCode = 0;
    QString m_text;
};
