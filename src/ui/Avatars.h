#pragma once

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// The avatars' letters and colours for the views, from the same C++ functions the tray
// and the banners use.
class Avatars : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    explicit Avatars(QObject *parent = nullptr);

    Q_INVOKABLE QString initials(const QString &handle) const;
    Q_INVOKABLE QColor tint(const QString &handle) const;
};
