#include "cli/CLIResponses.h"

#include <QJsonArray>

namespace {

// Field readers: each returns false when the document must be rejected.

bool requiredString(const QJsonObject &o, const char *key, QString &out)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (!v.isString())
        return false;
    out = v.toString();
    return true;
}

bool requiredBool(const QJsonObject &o, const char *key, bool &out)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (!v.isBool())
        return false;
    out = v.toBool();
    return true;
}

bool optionalString(const QJsonObject &o, const char *key, std::optional<QString> &out)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isUndefined() || v.isNull())
        return true;
    if (!v.isString())
        return false;
    out = v.toString();
    return true;
}

bool optionalBool(const QJsonObject &o, const char *key, std::optional<bool> &out)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isUndefined() || v.isNull())
        return true;
    if (!v.isBool())
        return false;
    out = v.toBool();
    return true;
}

bool requiredStrings(const QJsonObject &o, const char *key, QStringList &out)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (!v.isArray())
        return false;
    const QJsonArray a = v.toArray();
    out.reserve(a.size());
    for (const QJsonValue &e : a) {
        if (!e.isString())
            return false;
        out.append(e.toString());
    }
    return true;
}

// An array of records, each decoded by `one`; any bad element rejects the document.
template<typename T, typename F> bool requiredRecords(const QJsonObject &o, const char *key, QList<T> &out, F one)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (!v.isArray())
        return false;
    const QJsonArray a = v.toArray();
    out.reserve(a.size());
    for (const QJsonValue &e : a) {
        if (!e.isObject())
            return false;
        T item;
        if (!one(e.toObject(), item))
            return false;
        out.append(std::move(item));
    }
    return true;
}

template<typename T, typename F> std::optional<T> decodeObject(const QJsonDocument &doc, F fill)
{
    if (!doc.isObject())
        return std::nullopt;
    T out;
    if (!fill(doc.object(), out))
        return std::nullopt;
    return out;
}

bool decodeInboxItem(const QJsonObject &o, InboxItem &item)
{
    const QJsonValue sender = o.value(QLatin1String("sender"));
    const QJsonValue message = o.value(QLatin1String("message"));
    if (!sender.isObject() || !message.isObject())
        return false;
    if (!requiredString(sender.toObject(), "handle", item.sender.handle))
        return false;
    const QJsonObject m = message.toObject();
    if (!optionalString(m, "id", item.message.id))
        return false;
    const QJsonValue content = m.value(QLatin1String("content"));
    if (content.isObject())
        item.message.content = content.toObject();
    else if (!content.isUndefined() && !content.isNull())
        return false;
    return true;
}

} // namespace

std::optional<InboxResponse> InboxResponse::decode(const QJsonDocument &doc)
{
    if (!doc.isArray())
        return std::nullopt;
    InboxResponse out;
    const QJsonArray a = doc.array();
    out.items.reserve(a.size());
    for (const QJsonValue &e : a) {
        InboxItem item;
        if (!e.isObject() || !decodeInboxItem(e.toObject(), item))
            return std::nullopt;
        out.items.append(std::move(item));
    }
    return out;
}

std::optional<ClaimResponse> ClaimResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ClaimResponse>(doc, [](const QJsonObject &o, ClaimResponse &r) {
        return requiredBool(o, "ok", r.ok) && optionalString(o, "from", r.from);
    });
}

std::optional<ConnectResponse> ConnectResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ConnectResponse>(doc, [](const QJsonObject &o, ConnectResponse &r) {
        return requiredBool(o, "ok", r.ok) && optionalString(o, "state", r.state);
    });
}

std::optional<RequestsResponse> RequestsResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<RequestsResponse>(
        doc, [](const QJsonObject &o, RequestsResponse &r) { return requiredStrings(o, "requests", r.requests); });
}

std::optional<FriendsResponse> FriendsResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<FriendsResponse>(
        doc, [](const QJsonObject &o, FriendsResponse &r) { return requiredStrings(o, "friends", r.friends); });
}

std::optional<ShareResponse> ShareResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ShareResponse>(doc, [](const QJsonObject &o, ShareResponse &r) {
        return requiredString(o, "id", r.id) && requiredString(o, "code", r.code) && requiredString(o, "url", r.url);
    });
}

std::optional<WhoisResponse> WhoisResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<WhoisResponse>(doc, [](const QJsonObject &o, WhoisResponse &r) {
        return requiredString(o, "handle", r.handle) && optionalString(o, "kind", r.kind)
            && optionalString(o, "verification", r.verification)
            && optionalString(o, "keyFingerprint", r.keyFingerprint);
    });
}

std::optional<ContactsResponse> ContactsResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ContactsResponse>(doc, [](const QJsonObject &o, ContactsResponse &r) {
        return requiredRecords(o, "contacts", r.contacts, [](const QJsonObject &e, ContactEntry &c) {
            return requiredString(e, "handle", c.handle) && optionalBool(e, "online", c.online);
        });
    });
}

std::optional<SharesResponse> SharesResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<SharesResponse>(doc, [](const QJsonObject &o, SharesResponse &r) {
        return requiredRecords(o, "shares", r.shares, [](const QJsonObject &e, ShareEntry &s) {
            return requiredString(e, "id", s.id) && optionalBool(e, "revoked", s.revoked);
        });
    });
}

std::optional<DevicesResponse> DevicesResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<DevicesResponse>(doc, [](const QJsonObject &o, DevicesResponse &r) {
        return requiredRecords(o, "devices", r.devices, [](const QJsonObject &e, DeviceEntry &d) {
            return requiredString(e, "label", d.label) && optionalBool(e, "online", d.online);
        });
    });
}

std::optional<DoctorReport> DoctorReport::decode(const QJsonDocument &doc)
{
    return decodeObject<DoctorReport>(
        doc, [](const QJsonObject &o, DoctorReport &r) { return requiredBool(o, "ok", r.ok); });
}

std::optional<WhoamiResponse> WhoamiResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<WhoamiResponse>(doc, [](const QJsonObject &o, WhoamiResponse &r) {
        return requiredString(o, "handle", r.handle) && optionalString(o, "account", r.account)
            && optionalString(o, "relay", r.relay);
    });
}
