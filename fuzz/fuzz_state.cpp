// The "/api/state" body: decoding either fails with a reason or gives a document whose
// message contents survive a round trip through their own JSON.
#include "model/PanelState.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayView body(reinterpret_cast<const char *>(data), qsizetype(size));
    QString error;
    const std::optional<PanelState> state = PanelState::decode(body, &error);
    if (!state) {
        if (error.isEmpty())
            std::abort();
        return 0;
    }
    PanelState copy = *state;
    copy.shareUnchanged(*state);
    if (!(copy == *state))
        std::abort();
    for (const Message &m : state->messages) {
        if (!JSONValue::fromJson(m.content.toJson()))
            std::abort();
    }
    (void)JSONValue::fromJson(body);
    return 0;
}
