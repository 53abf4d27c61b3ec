#include "ui/Theme.h"

#include <QEvent>
#include <QFont>
#include <QGuiApplication>
#include <QQmlEngine>

Theme::Theme(QObject *parent)
    : QObject(parent)
{
    readFont();
    if (qApp)
        qApp->installEventFilter(this);
}

Theme *Theme::instance()
{
    static Theme *theme = new Theme(qApp);
    return theme;
}

Theme *Theme::create(QQmlEngine *, QJSEngine *)
{
    Theme *theme = instance();
    // Shared by every window's engine; none of them may delete it.
    QQmlEngine::setObjectOwnership(theme, QQmlEngine::CppOwnership);
    return theme;
}

void Theme::setDark(bool dark)
{
    if (m_dark == dark)
        return;
    m_dark = dark;
    Q_EMIT changed();
}

void Theme::readFont()
{
    const QFont font = QGuiApplication::font();
    // A font set in pixels has no point size; 96 dpi turns it into one.
    m_base = font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize() * 0.75;
    if (m_base < 6)
        m_base = 10;
}

bool Theme::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qApp && event->type() == QEvent::ApplicationFontChange) {
        readFont();
        Q_EMIT changed();
    }
    return QObject::eventFilter(watched, event);
}
