#include "state/SSELineSplitter.h"

#include <QString>

#include <cstring>

namespace {

bool announcesChange(QByteArrayView line)
{
    // Most lines are data: they are told apart without being decoded.
    if (!line.contains(QByteArrayView("event:")))
        return false;
    const QString text = QString::fromUtf8(line).trimmed();
    return text == u"event: changed" || text == u"event:changed";
}

} // namespace

int SSELineSplitter::feed(QByteArrayView chunk)
{
    // Only the new bytes are searched, and an unfinished line is only ever appended to, so
    // a line of any length costs time in proportion to its length.
    if (chunk.isEmpty())
        return 0;
    int changed = 0;
    const char *from = chunk.data();
    const char *const end = from + chunk.size();
    while (const char *nl = static_cast<const char *>(std::memchr(from, '\n', size_t(end - from)))) {
        const QByteArrayView rest(from, nl - from);
        if (m_buffer.isEmpty()) {
            changed += announcesChange(rest);
        } else {
            m_buffer.append(rest);
            changed += announcesChange(m_buffer);
            m_buffer.clear();
        }
        from = nl + 1;
    }
    m_buffer.append(from, end - from);
    return changed;
}
