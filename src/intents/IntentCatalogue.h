#pragma once

#include "cli/CLIResponses.h"
#include "intents/IntentDefinition.h"

#include <QList>
#include <QString>
#include <QStringList>

// The twenty-two actions, and the eight offered as app shortcuts (KRunner, the launcher).
namespace IntentCatalogue {

const QList<IntentDefinition> &all();
// By intent name ("SendMessageIntent"), method ("SendMessage") or command ("send-message").
const IntentDefinition *find(const QString &name);

// "发送" / "继续".
QString confirmLabel(Confirmation confirmation);

// The dialog of a failed authentication: the action did not run, and that is not an error.
QString gateCancelledDialog();

// One inbox listing line: "@sender：text", with placeholders for messages without text.
QString inboxLine(const InboxItem &item);
// The message's text, "（结构化消息）" when it only carries other content, or
// "（无文本内容）" when it carries nothing usable.
QString inboxText(const InboxMessage &message);
QString whoisSentence(const WhoisResponse &whois);

struct AppShortcut {
    QString intent; // "SendMessageIntent"
    QStringList phrases; // with "{app}" for the application's name
    QString shortTitle;
    QString symbol; // an icon name of the desktop's theme
    QStringList phrasesFor(const QString &appName) const;
};
const QList<AppShortcut> &appShortcuts();

} // namespace IntentCatalogue
