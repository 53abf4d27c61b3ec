#pragma once

#include <QString>
#include <QUrl>

// What a quillmote:// URL asks for. Parsing is pure; the controller acts and logs.
struct DeepLink {
    enum class Kind {
        notQuillmote, // another scheme: ignored
        conversation, // open the main window on `target`
        legacyWakeup, // open?sender=…: only brings the app forward, nothing else
        noTarget, // a quillmote URL naming no conversation
    };
    Kind kind = Kind::noTarget;
    QString target; // the handle for conversation and legacyWakeup

    static DeepLink parse(const QUrl &url);
    // The text as it came: the scheme must be exactly "quillmote" (QUrl lower-cases it).
    static DeepLink parse(const QString &text);
    // The log line the controller writes for this link ("url-scheme: …").
    QString logLine(const QUrl &url) const;
    // The wake-up URL for a sender: quillmote://open?sender=<percent-encoded handle>.
    static QUrl openSenderUrl(const QString &sender);
};
