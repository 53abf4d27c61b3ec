// A quillmote:// link from anywhere on the desktop: parsing and its log line never fail,
// and the wake-up link for a target names the same target.
#include "app/DeepLink.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QUrl url(text);
    const DeepLink link = DeepLink::parse(url);
    (void)link.logLine(url);
    if (link.kind == DeepLink::Kind::legacyWakeup) {
        const DeepLink again = DeepLink::parse(DeepLink::openSenderUrl(link.target));
        if (again.kind != DeepLink::Kind::legacyWakeup || again.target != link.target)
            std::abort();
    }
    return 0;
}
