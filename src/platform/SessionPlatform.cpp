#include "platform/SessionPlatform.h"

#include "core/Log.h"

#include <QQuickWindow>
#include <QSGRendererInterface>

namespace SessionPlatform {

Choice choosePlatform(const std::function<QByteArray(const char *)> &env)
{
    if (!env("QT_QPA_PLATFORM").isEmpty())
        return {};
    const bool x11 = !env("DISPLAY").isEmpty();
    const bool wayland = !env("WAYLAND_DISPLAY").isEmpty() || env("XDG_SESSION_TYPE") == "wayland";
    if (!x11 && !wayland)
        return { "offscreen", QStringLiteral("no display — running with the offscreen platform") };
    if (x11 && wayland)
        return { "xcb",
            QStringLiteral("Wayland session with XWayland — running on XWayland (xcb) so the overlay is placed "
                           "exactly and never tiled; set QT_QPA_PLATFORM=wayland to override") };
    return {};
}

bool softwareRendererWanted(const std::function<QByteArray(const char *)> &env)
{
    return env("QT_QUICK_BACKEND").isEmpty() && env("QSG_RHI_BACKEND").isEmpty();
}

void apply()
{
    const auto env = [](const char *name) { return qgetenv(name); };
    const Choice choice = choosePlatform(env);
    if (!choice.platform.isEmpty()) {
        qputenv("QT_QPA_PLATFORM", choice.platform);
        Log::info(Log::Category::lifecycle, choice.reason);
    }
    if (softwareRendererWanted(env))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

} // namespace SessionPlatform
