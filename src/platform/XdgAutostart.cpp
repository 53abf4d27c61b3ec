#include "platform/XdgAutostart.h"

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

} // namespace XdgAutostart
