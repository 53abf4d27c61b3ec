#include "state/SSELineSplitter.h"

#include <QString>

int SSELineSplitter::feed(QByteArrayView chunk)
{
    m_buffer.append(chunk.data(), chunk.size());
    int changed = 0;
    qsizetype from = 0;
    for (qsizetype nl = m_buffer.indexOf('\n', from); nl >= 0; nl = m_buffer.indexOf('\n', from)) {
        const QString line = QString::fromUtf8(QByteArrayView(m_buffer).sliced(from, nl - from)).trimmed();
        if (line == u"event: changed" || line == u"event:changed")
            ++changed;
        from = nl + 1;
    }
    m_buffer.remove(0, from);
    return changed;
}
