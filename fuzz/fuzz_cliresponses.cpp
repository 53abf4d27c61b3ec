// The tool's `--json` output, as the runner reads it, through every response decoder.
#include "cli/CLIResponses.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return 0;
    (void)InboxResponse::decode(doc);
    (void)ClaimResponse::decode(doc);
    (void)ConnectResponse::decode(doc);
    (void)RequestsResponse::decode(doc);
    (void)FriendsResponse::decode(doc);
    (void)ShareResponse::decode(doc);
    (void)WhoisResponse::decode(doc);
    (void)ContactsResponse::decode(doc);
    (void)SharesResponse::decode(doc);
    (void)DevicesResponse::decode(doc);
    (void)DoctorReport::decode(doc);
    (void)WhoamiResponse::decode(doc);
    return 0;
}
