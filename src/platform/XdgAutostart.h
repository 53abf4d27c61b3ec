#pragma once

#include <QString>

// The login item as an XDG autostart entry, $XDG_CONFIG_HOME/autostart/quillmote-notifier.desktop.
namespace XdgAutostart {

enum class Status {
    notRegistered, // no entry: ours to write
    enabled, // an entry that starts us at login
    turnedOffByUser // Hidden=true or X-GNOME-Autostart-enabled=false: the user's choice, left alone
};

QString entryPath();
// For turnedOffByUser, `why` names the key that says so.
Status status(QString *why = nullptr);
// Writes the entry from the installed template, starting this executable. False with an error text.
bool registerEntry(const QString &executable, QString *error);
// The template's text (the same file `cmake --install` puts in share/quillmote-notifier/).
QString templateText();

} // namespace XdgAutostart
