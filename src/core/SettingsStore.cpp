#include "core/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QSettings>
#include <QStandardPaths>

#include <memory>

#include <sys/stat.h>

namespace SettingsStore {
namespace {

QMutex g_lock;

// What the file looked like when it was last read or written. Reading again costs a
// stat, not a parse, until another process writes the file (QSettings replaces it, so
// the inode changes too).
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = -1;
    timespec modified {};
    bool operator==(const FileStamp &o) const
    {
        return device == o.device && inode == o.inode && size == o.size && modified.tv_sec == o.modified.tv_sec
            && modified.tv_nsec == o.modified.tv_nsec;
    }
};

FileStamp stampOf(const QString &path)
{
    struct stat st {
    };
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    return { st.st_dev, st.st_ino, st.st_size, st.st_mtim };
}

FileStamp g_seen;

// One QSettings per file path; a test that points XDG_CONFIG_HOME elsewhere gets a fresh one.
QSettings &settings()
{
    static std::unique_ptr<QSettings> s;
    const QString path = filePath();
    if (!s || s->fileName() != path) {
        s = std::make_unique<QSettings>(path, QSettings::IniFormat);
        g_seen = stampOf(path);
    }
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
    case Key::commNotifications:
        return QStringLiteral("quillmote.commNotificationsEnabled");
    case Key::urgencyMapping:
        return QStringLiteral("quillmote.urgencyMappingEnabled");
    case Key::focusFilter:
        return QStringLiteral("quillmote.focusFilterEnabled");
    case Key::biometricGate:
        return QStringLiteral("quillmote.biometricGateEnabled");
    case Key::sound:
        return QStringLiteral("quillmote.soundEnabled");
    // Deliberately without the "quillmote." prefix: existing preferences use this key.
    case Key::quietWhenFocused:
        return QStringLiteral("quietWhenTerminalFocused");
    }
    return {};
}

std::optional<QVariant> value(const QString &key)
{
    QMutexLocker lock(&g_lock);
    QSettings &s = settings();
    // Pick up another process's writes.
    if (const FileStamp now = stampOf(s.fileName()); !(now == g_seen)) {
        s.sync();
        g_seen = stampOf(s.fileName());
    }
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
    g_seen = stampOf(s.fileName());
}

void remove(const QString &key)
{
    QMutexLocker lock(&g_lock);
    QSettings &s = settings();
    s.remove(key);
    s.sync();
    g_seen = stampOf(s.fileName());
}

const Switch &switchFor(Key key)
{
    for (const Switch &s : switches)
        if (s.key == key)
            return s;
    Q_UNREACHABLE();
}

bool flag(Key key)
{
    const std::optional<QVariant> v = value(keyString(key));
    return v ? v->toBool() : switchFor(key).defaultValue;
}

void setFlag(Key key, bool v)
{
    setValue(keyString(key), v);
}

bool toggle(Key key)
{
    const bool next = !flag(key);
    setFlag(key, next);
    return next;
}

} // namespace SettingsStore
