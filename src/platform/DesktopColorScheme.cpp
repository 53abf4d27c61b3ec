#include "platform/DesktopColorScheme.h"

#include "core/Log.h"
#include "platform/PortalSetting.h"
#include "ui/Theme.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

DesktopColorScheme::DesktopColorScheme(QObject *parent)
    : QObject(parent)
{
    const QByteArray forced = qgetenv("QUILLMOTE_COLOR_SCHEME");
    if (forced == "dark" || forced == "light")
        m_forced = forced == "dark";
    if (qApp)
        qApp->installEventFilter(this);
    apply();
    if (m_forced)
        return;
    auto *setting = new PortalSetting(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
        QDBusConnection::sessionBus(), this);
    connect(setting, &PortalSetting::valueRead, this, [this](const QVariant &value) {
        m_portal = darkFromPortal(value.toUInt());
        apply();
    });
}

std::optional<bool> DesktopColorScheme::darkFromPortal(uint value)
{
    if (value == 1)
        return true;
    if (value == 2)
        return false;
    return std::nullopt;
}

bool DesktopColorScheme::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        apply();
    return QObject::eventFilter(watched, event);
}

void DesktopColorScheme::apply()
{
    bool dark = false;
    if (m_forced)
        dark = *m_forced;
    else if (m_portal)
        dark = *m_portal;
    else
        dark = QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
    if (dark != Theme::instance()->dark())
        Log::info(Log::Category::mainwindow, dark ? QStringLiteral("theme: dark") : QStringLiteral("theme: light"));
    Theme::instance()->setDark(dark);
}
