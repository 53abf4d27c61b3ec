#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The answers of the tool's `--json` commands. Each decode() is strict the way the actions
// rely on: a required field that is missing or of the wrong type fails the whole document;
// an optional field may be absent or null (but not of another type); other keys are ignored.

struct InboxSender {
    QString handle;
    bool operator==(const InboxSender &) const = default;
};

struct InboxMessage {
    std::optional<QString> id;
    // Free-form: whatever JSON the sender put there.
    std::optional<QJsonObject> content;
    bool operator==(const InboxMessage &) const = default;
};

struct InboxItem {
    InboxSender sender;
    InboxMessage message;
    bool operator==(const InboxItem &) const = default;
};

// `inbox --once --json`: the top level is an array of items.
struct InboxResponse {
    QList<InboxItem> items;
    static std::optional<InboxResponse> decode(const QJsonDocument &doc);
};

struct ClaimResponse {
    bool ok = false;
    std::optional<QString> from;
    static std::optional<ClaimResponse> decode(const QJsonDocument &doc);
};

struct ConnectResponse {
    bool ok = false;
    std::optional<QString> state;
    static std::optional<ConnectResponse> decode(const QJsonDocument &doc);
};

struct RequestsResponse {
    QStringList requests;
    static std::optional<RequestsResponse> decode(const QJsonDocument &doc);
};

struct FriendsResponse {
    QStringList friends;
    static std::optional<FriendsResponse> decode(const QJsonDocument &doc);
};

struct ShareResponse {
    QString id;
    QString code;
    QString url;
    static std::optional<ShareResponse> decode(const QJsonDocument &doc);
};

struct WhoisResponse {
    QString handle;
    std::optional<QString> kind;
    std::optional<QString> verification;
    std::optional<QString> keyFingerprint;
    static std::optional<WhoisResponse> decode(const QJsonDocument &doc);
};

struct ContactEntry {
    QString handle;
    std::optional<bool> online;
    bool operator==(const ContactEntry &) const = default;
};

struct ContactsResponse {
    QList<ContactEntry> contacts;
    static std::optional<ContactsResponse> decode(const QJsonDocument &doc);
};

struct ShareEntry {
    QString id;
    std::optional<bool> revoked;
    bool operator==(const ShareEntry &) const = default;
};

struct SharesResponse {
    QList<ShareEntry> shares;
    static std::optional<SharesResponse> decode(const QJsonDocument &doc);
};

struct DeviceEntry {
    QString label;
    std::optional<bool> online;
    bool operator==(const DeviceEntry &) const = default;
};

struct DevicesResponse {
    QList<DeviceEntry> devices;
    static std::optional<DevicesResponse> decode(const QJsonDocument &doc);
};

struct DoctorReport {
    bool ok = false;
    static std::optional<DoctorReport> decode(const QJsonDocument &doc);
};

struct WhoamiResponse {
    QString handle;
    std::optional<QString> account;
    std::optional<QString> relay;
    static std::optional<WhoamiResponse> decode(const QJsonDocument &doc);
};
