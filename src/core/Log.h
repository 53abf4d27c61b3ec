#pragma once

#include <QLoggingCategory>
#include <QString>

// The app's log: one category per component under "com.quillmote.notifier".
// Lines go to stderr as "<UTC time> <level> <category> <message>", or to the systemd
// journal when stderr is the journal (JOURNAL_STREAM).
namespace Log {

enum class Category {
    lifecycle,
    socket,
    notch,
    notify,
    fill,
    reply,
    menubar,
    intents,
    stateclient,
    mainwindow,
};

const QLoggingCategory &category(Category c);
QString shortName(Category c);

// Error level when the lower-cased text contains one of the failure words, info otherwise.
bool isErrorText(const QString &text);
void emit(Category c, const QString &text);
void info(Category c, const QString &text);
void error(Category c, const QString &text);
void debug(Category c, const QString &text);

// Message bodies are private: "<private>" unless QUILLMOTE_LOG_PRIVATE=1.
QString priv(const QString &value);

// "true"/"false", the way delivered flags are written.
inline QString boolText(bool b)
{
    return b ? QStringLiteral("true") : QStringLiteral("false");
}

// Installs the stderr/journal message handler for the whole process.
void install();

// The line as it goes to stderr (exposed for tests).
QString formatLine(QtMsgType type, const char *category, const QString &message);

} // namespace Log
