#include "platform/QtScreenSource.h"

#include <QGuiApplication>
#include <QScreen>

QList<NotchScreen> QtScreenSource::screens() const
{
    QList<NotchScreen> out;
    for (QScreen *s : QGuiApplication::screens())
        out.append({ s->name(), s->geometry(), s->availableGeometry(), 0, {}, {} });
    return out;
}

int QtScreenSource::primaryIndex() const
{
    return int(QGuiApplication::screens().indexOf(QGuiApplication::primaryScreen()));
}
