#pragma once

#include <QString>
#include <QVariant>

#include <array>
#include <optional>

// The user's on/off preferences. Every reader passes its own default, so an unset key
// reads as the default that reader expects; nothing registers defaults centrally.
// Stored with QSettings in $XDG_CONFIG_HOME/quillmote/notifier.conf and re-read before
// every read, so a value another process wrote is seen at once.
namespace SettingsStore {

enum class Key {
    commNotifications,
    urgencyMapping,
    focusFilter,
    biometricGate,
    sound,
    quietWhenFocused,
};

inline constexpr std::array<Key, 6> allKeys { Key::commNotifications, Key::urgencyMapping, Key::focusFilter,
    Key::biometricGate, Key::sound, Key::quietWhenFocused };

QString keyString(Key key);

bool flag(Key key, bool defaultValue);
bool toggle(Key key, bool defaultValue);
void setFlag(Key key, bool value);

// Raw access for the keys other components own (unread marks, focus breakthrough).
std::optional<QVariant> value(const QString &key);
void setValue(const QString &key, const QVariant &value);
void remove(const QString &key);

// The file behind the store.
QString filePath();

} // namespace SettingsStore
