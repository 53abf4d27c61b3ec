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
    const std::function<void()> *action = nullptr;
    switch (key->key()) {
    case Qt::Key_0:
        action = &onOpenApp;
        break;
    case Qt::Key_Comma:
        action = &onOpenPreferences;
        break;
    case Qt::Key_Q:
        action = &onQuit;
        break;
    default:
        return false;
    }
    if (*action)
        (*action)();
    return true;
}
