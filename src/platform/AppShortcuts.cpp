#include "platform/AppShortcuts.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWindow>

AppShortcuts::AppShortcuts(QObject *parent)
    : QObject(parent)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool AppShortcuts::eventFilter(QObject *watched, QEvent *event)
{
    // Windows see a key first; widgets and items inside them see it again, so only the
    // window's copy counts.
    if (event->type() != QEvent::KeyPress || !qobject_cast<QWindow *>(watched))
        return false;
    const auto *key = static_cast<QKeyEvent *>(event);
    if ((key->modifiers() & ~Qt::KeypadModifier) != Qt::ControlModifier)
        return false;
    switch (key->key()) {
    case Qt::Key_0:
        Q_EMIT openAppRequested();
        return true;
    case Qt::Key_Comma:
        Q_EMIT openPreferencesRequested();
        return true;
    case Qt::Key_Q:
        Q_EMIT quitRequested();
        return true;
    default:
        return false;
    }
}
