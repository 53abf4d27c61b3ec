#pragma once

#include <QImage>
#include <QList>
#include <QObject>
#include <QPair>
#include <QString>
#include <QStringList>

#include <functional>

// One banner as the logic wants it shown; the adapter maps it onto the desktop's
// notification server.
struct Banner {
    enum class Urgency { low, normal, critical };

    QString summary;
    QString body;
    Urgency urgency = Urgency::normal;
    QImage image; // null: none
    QList<QPair<QString, QString>> actions; // key, label; "default" is the click on the banner
    QString replyPlaceholder; // non-empty: offer the server's inline reply field
    QString replySubmitLabel;
    quint32 replacesId = 0;
    QString category;
    bool suppressSound = true;
};

// What the server said about itself when asked.
struct ServerInfo {
    bool available = false;
    QString error; // why not, when not available
    QString name;
    QString vendor;
    QString version;
    QStringList capabilities;

    bool has(const QString &capability) const { return capabilities.contains(capability); }
};

// The desktop's notification server, asynchronous throughout: every answer comes back
// later on the main thread through a callback or one of the signals.
class NotificationsPort : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Asks the server who it is and what it can do.
    virtual void probe(std::function<void(const ServerInfo &)> done) = 0;
    // Posts a banner; `done` gets the server's id, or 0 and an error text.
    virtual void post(const Banner &banner, std::function<void(quint32 id, const QString &error)> done) = 0;

Q_SIGNALS:
    void actionChosen(quint32 id, const QString &actionKey);
    void replyTyped(quint32 id, const QString &text);
    void bannerClosed(quint32 id);
    // The server's bus name got a new owner (it started or restarted) or lost it.
    void serverChanged(bool present);
};
