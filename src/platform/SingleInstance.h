#pragma once

#include <QObject>
#include <QString>

// One instance per user session: the first process owns the session-bus name
// com.quillmote.Notifier and serves /com/quillmote/Notifier; a later one hands its URL
// (or just an activation) to it and exits. Without a session bus every process is
// "primary" and the socket's lock file keeps a second one off the socket.
class SingleInstance : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quillmote.Notifier")
public:
    static constexpr const char *serviceName = "com.quillmote.Notifier";
    static constexpr const char *objectPath = "/com/quillmote/Notifier";

    enum class Role { primary, secondary, noBus };

    explicit SingleInstance(QObject *parent = nullptr);

    // Tries to own the name and export this object.
    Role claim();
    // From a secondary process: asks the primary to open the URL (empty: just come forward).
    static bool handOff(const QString &url, QString *error = nullptr);

Q_SIGNALS:
    void openURLRequested(const QString &url);
    void activationRequested();

public Q_SLOTS:
    Q_SCRIPTABLE void OpenURL(const QString &url);
    Q_SCRIPTABLE void Activate();
};
