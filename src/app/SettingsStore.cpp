#include "app/SettingsStore.h"

#include <QDir>
#include <QMutex>
#include <QSettings>
#include <QStandardPaths>

#include <memory>

namespace SettingsStore {
namespace {

QMutex g_lock;

// One QSettings per file path; a test that points XDG_CONFIG_HOME elsewhere gets a fresh one.
QSettings &settings()
{
    static std::unique_ptr<QSettings> s;
    const QString path = filePath();
    if (!s || s->fileName() != path)
        s = std::make_unique<QSettings>(path, QSettings::IniFormat);
    return *s;
}

} // namespace

QString filePath()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/quillmote/notifier.conf");
}

QString keyString(Key key)
{
    switch (key) {
    case Key::commNotifications: return QStringLiteral("quillmote.commNotificationsEnabled");
    case Key::urgencyMapping: return QStringLiteral("quillmote.urgencyMappingEnabled");
    case Key::focusFilter: return QStringLiteral("quillmote.focusFilterEnabled");
    case Key::biometricGate: return QStringLiteral("quillmote.biometricGateEnabled");
    case Key::sound: return QStringLiteral("quillmote.soundEnabled");
    // Deliberately without the "quillmote." prefix: existing preferences use this key.
    case Key::quietWhenFocused: return QStringLiteral("quietWhenTerminalFocused");
    }
    return {};
}

std::optional<QVariant> value(const QString &key)
{
    QMutexLocker lock(&g_lock);
    QSettings &s = settings();
    s.sync(); // pick up another process's writes
    if (!s.contains(key))
        return std::nullopt;
    return s.value(key);
}

void setValue(const QString &key, const QVariant &v)
{
    QMutexLocker lock(&g_lock);
    QSettings &s = settings();
    s.setValue(key, v);
    s.sync();
}

void remove(const QString &key)
{
    QMutexLocker lock(&g_lock);
    QSettings &s = settings();
    s.remove(key);
    s.sync();
}

bool flag(Key key, bool defaultValue)
{
    const std::optional<QVariant> v = value(keyString(key));
    return v ? v->toBool() : defaultValue;
}

void setFlag(Key key, bool v) { setValue(keyString(key), v); }

bool toggle(Key key, bool defaultValue)
{
    const bool next = !flag(key, defaultValue);
    setFlag(key, next);
    return next;
}

} // namespace SettingsStore
