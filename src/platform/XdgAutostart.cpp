#include "platform/XdgAutostart.h"

#include "core/SettingsStore.h"
#include "platform/autostart_template.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace XdgAutostart {

QString entryPath()
{
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/autostart/quillmote-notifier.desktop");
}

QString templateText()
{
    return QString::fromUtf8(kAutostartTemplate);
}

Status status(QString *why)
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return Status::notRegistered;
    bool inEntry = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inEntry = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        if (!inEntry)
            continue;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (eq < 0)
            continue;
        const QString key = line.left(eq).trimmed();
        const QString value = line.mid(eq + 1).trimmed().toLower();
        if ((key == QLatin1String("Hidden") && value == QLatin1String("true"))
            || (key == QLatin1String("X-GNOME-Autostart-enabled") && value == QLatin1String("false"))) {
            if (why)
                *why = key + QLatin1Char('=') + line.mid(eq + 1).trimmed();
            return Status::turnedOffByUser;
        }
    }
    return Status::enabled;
}

bool registerEntry(const QString &executable, QString *error)
{
    const QString path = entryPath();
    if (!QDir().mkpath(QFileInfo(path).path())) {
        if (error)
            *error = QStringLiteral("cannot create %1").arg(QFileInfo(path).path());
        return false;
    }
    QString text = templateText();
    // A path with blanks goes in quotes on an Exec line.
    QString exec = executable;
    if (exec.contains(QLatin1Char(' ')))
        exec = QLatin1Char('"') + exec + QLatin1Char('"');
    text.replace(QStringLiteral("Exec=quillmote-notifier"), QStringLiteral("Exec=") + exec);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    return true;
}

namespace {
bool writtenBefore()
{
    return SettingsStore::value(QString::fromLatin1(writtenKey)).value_or(false).toBool();
}

bool writeEntry(const QString &executable, QString *error)
{
    if (!registerEntry(executable, error))
        return false;
    SettingsStore::setValue(QString::fromLatin1(writtenKey), true);
    return true;
}
} // namespace

LaunchOutcome atLaunch(const QString &executable)
{
    QString why;
    switch (status(&why)) {
    case Status::enabled:
        // An entry that is there was written once, by us or an older version of us.
        if (!writtenBefore())
            SettingsStore::setValue(QString::fromLatin1(writtenKey), true);
        return { LaunchOutcome::enabled, {} };
    case Status::turnedOffByUser:
        return { LaunchOutcome::turnedOffByUser, why };
    case Status::notRegistered:
        break;
    }
    if (writtenBefore())
        return { LaunchOutcome::removedByUser, {} };
    QString error;
    if (!writeEntry(executable, &error))
        return { LaunchOutcome::failed, error };
    return { LaunchOutcome::registered, {} };
}

bool setEnabled(bool on, const QString &executable, QString *error)
{
    if (on)
        return writeEntry(executable, error);
    QFile file(entryPath());
    if (file.exists() && !file.remove()) {
        if (error)
            *error = file.errorString();
        return false;
    }
    // Off is remembered the same way as a removal by hand: the next start leaves it off.
    SettingsStore::setValue(QString::fromLatin1(writtenKey), true);
    return true;
}

} // namespace XdgAutostart
