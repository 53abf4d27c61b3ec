#include "support/LogCapture.h"

#include <QTest>

#include <algorithm>

namespace {
LogCapture *g_active = nullptr;
}

LogCapture::LogCapture()
{
    g_active = this;
    m_previous = qInstallMessageHandler(&LogCapture::handler);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    g_active = nullptr;
}

void LogCapture::handler(QtMsgType type, const QMessageLogContext &ctx, const QString &msg)
{
    LogCapture *self = g_active;
    if (!self)
        return;
    QString category = QString::fromLatin1(ctx.category ? ctx.category : "default");
    category.remove(QStringLiteral("com.quillmote.notifier."));
    const QString level = type == QtInfoMsg ? QStringLiteral("info")
        : type == QtDebugMsg                ? QStringLiteral("debug")
                                            : QStringLiteral("error");
    {
        QMutexLocker lock(&self->m_lock);
        self->m_lines.append({ level, category, msg });
    }
    // Qt's own warnings still reach the console; ours too with QM_TEST_VERBOSE=1.
    static const bool verbose = qgetenv("QM_TEST_VERBOSE") == "1";
    const bool ours = QByteArray(ctx.category ? ctx.category : "").startsWith("com.quillmote.notifier");
    if (self->m_previous && (verbose || !ours))
        self->m_previous(type, ctx, msg);
}

QList<LogCapture::Line> LogCapture::lines() const
{
    QMutexLocker lock(&m_lock);
    return m_lines;
}

int LogCapture::count(const QString &fragment) const
{
    QMutexLocker lock(&m_lock);
    return int(
        std::count_if(m_lines.cbegin(), m_lines.cend(), [&](const Line &l) { return l.text.contains(fragment); }));
}

LogCapture::Line LogCapture::find(const QString &fragment) const
{
    QMutexLocker lock(&m_lock);
    for (const Line &l : m_lines)
        if (l.text.contains(fragment))
            return l;
    return {};
}

bool LogCapture::waitFor(const QString &fragment, int timeoutMs, int times) const
{
    return QTest::qWaitFor([&] { return count(fragment) >= times; }, timeoutMs);
}

QString LogCapture::dump() const
{
    QMutexLocker lock(&m_lock);
    QString out;
    for (const Line &l : m_lines)
        out += l.toString() + u'\n';
    return out;
}
