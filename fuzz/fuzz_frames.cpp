// One socket line: decoding either fails or gives a frame, and a decoded reply or fill
// written back is one line of valid JSON.
#include "ipc/Frames.h"

#include <QByteArray>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView line(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<NotifyFrame> frame = Frames::decodeNotify(line);
    if (!frame)
        return 0;
    const QByteArray reply = Frames::encode(ReplyFrame { frame->sender, frame->body, frame->msgId });
    const QByteArray fill = Frames::encode(FillFrame { frame->body, frame->msgId });
    if (reply.contains('\n') || fill.contains('\n'))
        std::abort();
    return 0;
}
