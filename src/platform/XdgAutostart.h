#pragma once

#include "ui/LoginItem.h"

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

// What start-up did about the login item.
struct LaunchOutcome {
    enum Kind {
        registered, // first run: the entry was written
        enabled, // the entry is there and starts us
        removedByUser, // we wrote it once and it is gone: the user removed it, it stays off
        turnedOffByUser, // the entry says it is off (`detail` names the key)
        failed, // writing failed (`detail` says why)
    };
    Kind kind = enabled;
    QString detail;
};
// Start-up: writes the entry on the first run only. Once it has been written, a missing
// entry is the user's choice just like Hidden=true, and is never written again by itself.
LaunchOutcome atLaunch(const QString &executable);

// The preferences switch: on writes the entry, off removes it.
bool setEnabled(bool on, const QString &executable, QString *error);

// The settings key that records that the entry was written once.
inline constexpr auto writtenKey = "quillmote.loginItem.written";

} // namespace XdgAutostart

// The preferences' login item on the XDG autostart entry.
class XdgLoginItem : public LoginItem
{
public:
    explicit XdgLoginItem(QString executable)
        : m_executable(std::move(executable))
    {
    }
    bool enabled() const override { return XdgAutostart::status() == XdgAutostart::Status::enabled; }
    bool setEnabled(bool on, QString *error) override { return XdgAutostart::setEnabled(on, m_executable, error); }

private:
    QString m_executable;
};
