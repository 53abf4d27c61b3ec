#include "ipc/IPCPath.h"

#include <pwd.h>
#include <unistd.h>

namespace IPCPath {

QString directory()
{
    const QString qhome = qEnvironmentVariable("QUILLMOTE_HOME");
    if (!qhome.isEmpty())
        return qhome;
    QString home = qEnvironmentVariable("HOME");
    if (home.isEmpty()) {
        if (const passwd *pw = getpwuid(getuid()); pw && pw->pw_dir)
            home = QString::fromLocal8Bit(pw->pw_dir);
    }
    return home + QStringLiteral("/.quillmote");
}

QString socketPath()
{
    return directory() + QStringLiteral("/notifier.sock");
}

} // namespace IPCPath
