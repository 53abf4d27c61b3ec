#include "platform/DesktopColorScheme.h"

#include "core/Log.h"
#include "ui/Theme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace {
const auto kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kSettingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const auto kAppearance = QStringLiteral("org.freedesktop.appearance");
const auto kColorScheme = QStringLiteral("color-scheme");

// The portal wraps the value in one or two variants, depending on its version.
QVariant unwrap(QVariant v)
{
    while (v.userType() == qMetaTypeId<QDBusVariant>())
        v = v.value<QDBusVariant>().variant();
    return v;
}
} // namespace

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

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(kPortalService, kPortalPath, kSettingsInterface, QStringLiteral("SettingChanged"), this,
        SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage call
        = QDBusMessage::createMethodCall(kPortalService, kPortalPath, kSettingsInterface, QStringLiteral("Read"));
    call << kAppearance << kColorScheme;
    call.setAutoStartService(false);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *w) {
        QDBusPendingReply<QDBusVariant> reply = *w;
        if (!reply.isError()) {
            m_portal = darkFromPortal(unwrap(QVariant::fromValue(reply.value())).toUInt());
            apply();
        }
        w->deleteLater();
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

void DesktopColorScheme::portalSettingChanged(const QString &ns, const QString &key, const QDBusVariant &value)
{
    if (ns != kAppearance || key != kColorScheme)
        return;
    m_portal = darkFromPortal(unwrap(value.variant()).toUInt());
    apply();
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
