// The event stream in chunks: however the bytes are cut, the same announcements are
// counted as when they arrive in one piece.
#include "state/SSELineSplitter.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    // The first byte chooses where the rest is cut.
    const size_t step = data[0] % 17 + 1;
    const QByteArrayView stream(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));

    SSELineSplitter whole;
    const int once = whole.feed(stream);
    SSELineSplitter cut;
    int pieces = 0;
    for (qsizetype at = 0; at < stream.size(); at += qsizetype(step))
        pieces += cut.feed(stream.sliced(at, std::min<qsizetype>(qsizetype(step), stream.size() - at)));
    if (once != pieces)
        std::abort();
    return 0;
}
