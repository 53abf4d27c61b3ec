#include "ui/Avatars.h"

#include "alerts/MonogramAvatar.h"
#include "core/Characters.h"

Avatars::Avatars(QObject *parent)
    : QObject(parent)
{
}

QString Avatars::initials(const QString &handle) const
{
    return Characters::initials(handle);
}

QColor Avatars::tint(const QString &handle) const
{
    return MonogramAvatar::handleColor(handle);
}
