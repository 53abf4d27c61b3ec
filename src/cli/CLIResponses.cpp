#include "cli/CLIResponses.h"

#include "core/JsonField.h"

#include <QJsonArray>

namespace {

// QJsonValue for JsonField: a key that is not there reads as undefined.
struct Json {
    static bool isAbsent(const QJsonValue &v) { return v.isUndefined(); }
    static bool isNull(const QJsonValue &v) { return v.isNull(); }
    static bool get(const QJsonValue &v, QString &out)
    {
        if (!v.isString())
            return false;
        out = v.toString();
        return true;
    }
    static bool get(const QJsonValue &v, bool &out)
    {
        if (!v.isBool())
            return false;
        out = v.toBool();
        return true;
    }
    static bool get(const QJsonValue &v, QJsonObject &out)
    {
        if (!v.isObject())
            return false;
        out = v.toObject();
        return true;
    }
};

// Each returns false when the document must be rejected.
template<typename T> bool required(const QJsonObject &o, const char *key, T &out)
{
    return JsonField::required(Json {}, o.value(QLatin1String(key)), out);
}

template<typename T> bool optional(const QJsonObject &o, const char *key, std::optional<T> &out)
{
    return JsonField::optional(Json {}, o.value(QLatin1String(key)), out);
}

// An array whose every element `one` reads; one bad element rejects the document.
template<typename T, typename F> bool readList(const QJsonValue &v, QList<T> &out, F one)
{
    if (!v.isArray())
        return false;
    const QJsonArray a = v.toArray();
    out.reserve(a.size());
    for (const QJsonValue &e : a) {
        T item;
        if (!one(e, item))
            return false;
        out.append(std::move(item));
    }
    return true;
}

template<typename T, typename F> bool requiredList(const QJsonObject &o, const char *key, QList<T> &out, F one)
{
    return readList(o.value(QLatin1String(key)), out, one);
}

bool stringElement(const QJsonValue &e, QString &out)
{
    return Json::get(e, out);
}

// A reader of records as list elements: each must be an object that `fill` accepts.
template<typename F> auto records(F fill)
{
    return [fill](const QJsonValue &e, auto &item) { return e.isObject() && fill(e.toObject(), item); };
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
    if (!required(sender.toObject(), "handle", item.sender.handle))
        return false;
    const QJsonObject m = message.toObject();
    return optional(m, "id", item.message.id) && optional(m, "content", item.message.content);
}

} // namespace

std::optional<InboxResponse> InboxResponse::decode(const QJsonDocument &doc)
{
    InboxResponse out;
    if (!doc.isArray() || !readList(QJsonValue(doc.array()), out.items, records(decodeInboxItem)))
        return std::nullopt;
    return out;
}

std::optional<ClaimResponse> ClaimResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ClaimResponse>(doc,
        [](const QJsonObject &o, ClaimResponse &r) { return required(o, "ok", r.ok) && optional(o, "from", r.from); });
}

std::optional<ConnectResponse> ConnectResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ConnectResponse>(doc, [](const QJsonObject &o, ConnectResponse &r) {
        return required(o, "ok", r.ok) && optional(o, "state", r.state);
    });
}

std::optional<RequestsResponse> RequestsResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<RequestsResponse>(doc, [](const QJsonObject &o, RequestsResponse &r) {
        return requiredList(o, "requests", r.requests, stringElement);
    });
}

std::optional<FriendsResponse> FriendsResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<FriendsResponse>(doc,
        [](const QJsonObject &o, FriendsResponse &r) { return requiredList(o, "friends", r.friends, stringElement); });
}

std::optional<ShareResponse> ShareResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ShareResponse>(doc, [](const QJsonObject &o, ShareResponse &r) {
        return required(o, "id", r.id) && required(o, "code", r.code) && required(o, "url", r.url);
    });
}

std::optional<WhoisResponse> WhoisResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<WhoisResponse>(doc, [](const QJsonObject &o, WhoisResponse &r) {
        return required(o, "handle", r.handle) && optional(o, "kind", r.kind)
            && optional(o, "verification", r.verification) && optional(o, "keyFingerprint", r.keyFingerprint);
    });
}

std::optional<ContactsResponse> ContactsResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<ContactsResponse>(doc, [](const QJsonObject &o, ContactsResponse &r) {
        return requiredList(o, "contacts", r.contacts, records([](const QJsonObject &e, ContactEntry &c) {
            return required(e, "handle", c.handle) && optional(e, "online", c.online);
        }));
    });
}

std::optional<SharesResponse> SharesResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<SharesResponse>(doc, [](const QJsonObject &o, SharesResponse &r) {
        return requiredList(o, "shares", r.shares, records([](const QJsonObject &e, ShareEntry &s) {
            return required(e, "id", s.id) && optional(e, "revoked", s.revoked);
        }));
    });
}

std::optional<DevicesResponse> DevicesResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<DevicesResponse>(doc, [](const QJsonObject &o, DevicesResponse &r) {
        return requiredList(o, "devices", r.devices, records([](const QJsonObject &e, DeviceEntry &d) {
            return required(e, "label", d.label) && optional(e, "online", d.online);
        }));
    });
}

std::optional<DoctorReport> DoctorReport::decode(const QJsonDocument &doc)
{
    return decodeObject<DoctorReport>(
        doc, [](const QJsonObject &o, DoctorReport &r) { return required(o, "ok", r.ok); });
}

std::optional<WhoamiResponse> WhoamiResponse::decode(const QJsonDocument &doc)
{
    return decodeObject<WhoamiResponse>(doc, [](const QJsonObject &o, WhoamiResponse &r) {
        return required(o, "handle", r.handle) && optional(o, "account", r.account) && optional(o, "relay", r.relay);
    });
}
