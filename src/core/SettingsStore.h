#pragma once

#include <QString>
#include <QVariant>

#include <array>
#include <iterator>
#include <optional>

// The user's on/off preferences. Each switch's default, label and place in the tray and
// the preferences live in one table below; an unset key reads as its switch's default.
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

// One switch as the tray's quick switches and the preferences show it.
struct Switch {
    Key key;
    bool defaultValue;
    const char *label; // UTF-8
    const char *group; // UTF-8; the tray heads each group with it
    const char *icon; // freedesktop icon name for the tray row, may be empty
    bool inTray; // listed among the tray's quick switches
};

// Every switch, in the order the preferences list them.
inline constexpr Switch switches[] {
    { Key::quietWhenFocused, false, "聚焦终端时安静", "通知", "", true },
    { Key::commNotifications, true, "好友身份通知 + 头像", "通知", "user-identity", true },
    { Key::urgencyMapping, true, "紧迫度自适应", "通知", "", true },
    { Key::sound, true, "新消息提示音", "通知", "", false },
    { Key::focusFilter, false, "按好友配专注打断", "权限与高级（默认关）", "", true },
    { Key::biometricGate, false, "敏感操作需 Touch ID", "权限与高级（默认关）", "", true },
};
static_assert(std::size(switches) == allKeys.size(), "every key has its switch");

const Switch &switchFor(Key key);
QString keyString(Key key);

// The stored value, or the switch's default while the key is unset.
bool flag(Key key);
// Stores the negation of flag(key) and returns it.
bool toggle(Key key);
void setFlag(Key key, bool value);

// Raw access for the keys other components own (unread marks, focus breakthrough).
std::optional<QVariant> value(const QString &key);
void setValue(const QString &key, const QVariant &value);
void remove(const QString &key);

// The file behind the store.
QString filePath();

} // namespace SettingsStore
