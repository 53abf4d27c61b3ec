#pragma once

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

// The preferences window's rows: the switches of the settings store, the do-not-disturb
// breakthrough choice, the version and the command that reads the log. Values are read
// from the store each time, so a switch flipped in the tray menu shows here too.
class PreferencesModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The preferences window owns its model")
    // [{title, switches: [{key, label, checked}]}]
    Q_PROPERTY(QVariantList switchGroups READ switchGroups NOTIFY changed)
    Q_PROPERTY(bool breakthrough READ breakthrough NOTIFY changed)
    Q_PROPERTY(QString appName READ appName CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString logCommand READ logCommand CONSTANT)
public:
    explicit PreferencesModel(QObject *parent = nullptr);

    QVariantList switchGroups() const;
    bool breakthrough() const;
    QString appName() const { return QStringLiteral("Quillmote Notifier"); }
    QString version() const;
    QString logCommand() const;

    // The store's key string of one of the switches.
    Q_INVOKABLE void setSwitch(const QString &key, bool on);
    Q_INVOKABLE void setBreakthrough(bool on);
    // Re-reads the store (the window calls it when shown).
    Q_INVOKABLE void reload();

Q_SIGNALS:
    void changed();
};
