#include "core/Log.h"

#include <QDateTime>
#include <QMutex>

#include <cstdio>
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-journal.h>

namespace Log {
namespace {

// QLoggingCategory keeps the pointer to its name, so the names must be static strings.
Q_LOGGING_CATEGORY(lcLifecycle, "com.quillmote.notifier.lifecycle")
Q_LOGGING_CATEGORY(lcSocket, "com.quillmote.notifier.socket")
Q_LOGGING_CATEGORY(lcNotch, "com.quillmote.notifier.notch")
Q_LOGGING_CATEGORY(lcNotify, "com.quillmote.notifier.notify")
Q_LOGGING_CATEGORY(lcFill, "com.quillmote.notifier.fill")
Q_LOGGING_CATEGORY(lcReply, "com.quillmote.notifier.reply")
Q_LOGGING_CATEGORY(lcMenubar, "com.quillmote.notifier.menubar")
Q_LOGGING_CATEGORY(lcIntents, "com.quillmote.notifier.intents")
Q_LOGGING_CATEGORY(lcStateclient, "com.quillmote.notifier.stateclient")
Q_LOGGING_CATEGORY(lcMainwindow, "com.quillmote.notifier.mainwindow")

constexpr char kPrefix[] = "com.quillmote.notifier.";

// The journal is used only when stderr is the very stream systemd handed us.
bool stderrIsJournal()
{
    const QByteArray stream = qgetenv("JOURNAL_STREAM");
    if (stream.isEmpty())
        return false;
    const QList<QByteArray> parts = stream.split(':');
    if (parts.size() != 2)
        return false;
    struct stat st {
    };
    if (fstat(STDERR_FILENO, &st) != 0)
        return false;
    return parts[0].toULongLong() == static_cast<unsigned long long>(st.st_dev)
        && parts[1].toULongLong() == static_cast<unsigned long long>(st.st_ino);
}

const char *levelName(QtMsgType type)
{
    switch (type) {
    case QtCriticalMsg:
    case QtFatalMsg:
    case QtWarningMsg:
        return "error";
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        break;
    }
    return "info";
}

QString categoryLabel(const char *category)
{
    QString name = QString::fromLatin1(category ? category : "default");
    if (name.startsWith(QLatin1String(kPrefix)))
        name = name.mid(int(sizeof(kPrefix)) - 1);
    return name;
}

bool g_toJournal = false;
QMutex g_writeLock;

void handler(QtMsgType type, const QMessageLogContext &ctx, const QString &message)
{
    if (g_toJournal) {
        const int priority = type == QtInfoMsg ? LOG_INFO : type == QtDebugMsg ? LOG_DEBUG : LOG_ERR;
        sd_journal_send("MESSAGE=%s", message.toUtf8().constData(), "PRIORITY=%d", priority,
            "SYSLOG_IDENTIFIER=quillmote-notifier", "QUILLMOTE_CATEGORY=%s",
            categoryLabel(ctx.category).toUtf8().constData(), nullptr);
    } else {
        const QByteArray line = formatLine(type, ctx.category, message).toUtf8() + '\n';
        QMutexLocker lock(&g_writeLock);
        std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
        std::fflush(stderr);
    }
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

const QLoggingCategory &category(Category c)
{
    switch (c) {
    case Category::lifecycle:
        return lcLifecycle();
    case Category::socket:
        return lcSocket();
    case Category::notch:
        return lcNotch();
    case Category::notify:
        return lcNotify();
    case Category::fill:
        return lcFill();
    case Category::reply:
        return lcReply();
    case Category::menubar:
        return lcMenubar();
    case Category::intents:
        return lcIntents();
    case Category::stateclient:
        return lcStateclient();
    case Category::mainwindow:
        return lcMainwindow();
    }
    return lcLifecycle();
}

QString shortName(Category c)
{
    return categoryLabel(category(c).categoryName());
}

bool isErrorText(const QString &text)
{
    static const char *const words[] = { "failed", "error", "denied", "cannot", "disabled", "dropped" };
    const QString lower = text.toLower();
    for (const char *w : words) {
        if (lower.contains(QLatin1String(w)))
            return true;
    }
    return false;
}

void emit(Category c, const QString &text)
{
    if (isErrorText(text))
        error(c, text);
    else
        info(c, text);
}

void info(Category c, const QString &text)
{
    qCInfo(category(c)).noquote() << text;
}
void error(Category c, const QString &text)
{
    qCCritical(category(c)).noquote() << text;
}
void debug(Category c, const QString &text)
{
    qCDebug(category(c)).noquote() << text;
}

QString priv(const QString &value)
{
    return qgetenv("QUILLMOTE_LOG_PRIVATE") == "1" ? value : QStringLiteral("<private>");
}

QString formatLine(QtMsgType type, const char *category, const QString &message)
{
    const QString time = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    return time + QLatin1Char(' ') + QLatin1String(levelName(type)) + QLatin1Char(' ') + categoryLabel(category)
        + QLatin1Char(' ') + message;
}

void install()
{
    g_toJournal = stderrIsJournal();
    qInstallMessageHandler(handler);
}

} // namespace Log
