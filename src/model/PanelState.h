#pragma once

#include "model/JSONValue.h"

#include <QByteArrayView>
#include <QList>
#include <QMetaType>
#include <QString>

#include <optional>

// The user's own identity.
struct SelfInfo {
    QString handle;
    QString fingerprint;
    friend bool operator==(const SelfInfo &, const SelfInfo &) = default;
};

// An inbound connection request awaiting approval.
struct PendingConnect {
    QString handle;
    QString fingerprint;
    friend bool operator==(const PendingConnect &, const PendingConnect &) = default;
};

// A peer the user is connected to.
struct Contact {
    QString handle;
    QString fingerprint;
    std::optional<QString> status;
    friend bool operator==(const Contact &, const Contact &) = default;
};

// One message of the history; `id` is its identity.
struct Message {
    QString id;
    QString peer; // the other party, whichever way the message went
    QString direction; // "in" or "out"
    QString type;
    std::optional<QString> status;
    QString createdAt; // ISO 8601 text as the server wrote it; see MessageTime
    JSONValue content;
    friend bool operator==(const Message &, const Message &) = default;
};

// The local state server's "/api/state" document.
//
// Decoding is lenient where the server is known to be sloppy and strict where a wrong
// shape means a wrong document: the three arrays decode all-or-nothing and never fail the
// document (one malformed message empties `messages`), "self" and "handle" fail it when
// present with a wrong shape, unknown keys are ignored everywhere. Thread-safe.
struct PanelState {
    std::optional<SelfInfo> selfInfo;
    std::optional<QString> handle;
    QList<Contact> contacts;
    QList<Message> messages;
    QList<PendingConnect> pending;

    // The state before the first successful fetch.
    static PanelState empty() { return {}; }

    // The document from the UTF-8 bytes of a response body, or nothing with a one-line
    // reason in *error.
    static std::optional<PanelState> decode(QByteArrayView json, QString *error = nullptr);
    // Gives back the calling thread's parse buffers (several times a large document's
    // size); the next decode on this thread allocates them again.
    static void releaseDecodeBuffers();

    // Replaces each contact and message equal to one of `previous` (a message: the same id)
    // by the previous copy, so that what did not change is shared instead of held twice and
    // later comparisons with it are pointer checks. Typically run right after a decode.
    void shareUnchanged(const PanelState &previous);

    friend bool operator==(const PanelState &, const PanelState &) = default;
};

Q_DECLARE_METATYPE(PanelState)
