#pragma once

#include <QByteArray>
#include <QByteArrayView>

// Cuts the event stream into lines and counts the change announcements in it. A line
// counts only once its line feed has arrived, so an announcement split across chunks is
// seen exactly once; data, comments and other events are skipped unread.
class SSELineSplitter
{
public:
    // Appends a chunk; returns how many "event: changed" lines it completed.
    int feed(QByteArrayView chunk);
    void reset() { m_buffer = QByteArray(); }

private:
    QByteArray m_buffer;
};
