#include "app/AppController.h"
#include "core/Log.h"
#include "platform/ActionCommand.h"
#include "platform/AppShortcuts.h"
#include "platform/SessionPlatform.h"
#include "platform/SingleInstance.h"
#include "platform/UnixSignals.h"

#include <QApplication>
#include <QTimer>

int main(int argc, char *argv[])
{
    Log::install();
    // `quillmote-notifier action NAME …` talks to the running app and never becomes one.
    if (argc > 1 && qstrcmp(argv[1], "action") == 0) {
        QStringList args;
        for (int i = 2; i < argc; ++i)
            args << QString::fromLocal8Bit(argv[i]);
        return runActionCommand(args);
    }
    // No display: offscreen; Wayland with XWayland beside it: xcb; software Qt Quick.
    SessionPlatform::apply();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("quillmote-notifier"));
    QApplication::setApplicationDisplayName(QStringLiteral("Quillmote Notifier"));
    QApplication::setApplicationVersion(QStringLiteral(QM_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("quillmote-notifier"));
    QApplication::setQuitOnLastWindowClosed(false);
    const QString url = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();

    // One instance per user session: a later start hands its URL to the running one.
    SingleInstance instance;
    const SingleInstance::Role role = instance.claim();
    if (role == SingleInstance::Role::secondary) {
        QString error;
        if (!SingleInstance::handOff(url, &error)) {
            Log::error(Log::Category::lifecycle,
                QStringLiteral("another instance is running, hand-off failed: %1").arg(error));
            return 1;
        }
        Log::info(Log::Category::lifecycle,
            QStringLiteral("another instance is running — handed over %1")
                .arg(url.isEmpty() ? QStringLiteral("(activation)") : url));
        return 0;
    }
    if (role == SingleInstance::Role::noBus)
        Log::info(Log::Category::lifecycle,
            QStringLiteral("no session bus — one instance is kept by the socket's lock only"));

    AppController controller;
    controller.setOwnsBusName(role == SingleInstance::Role::primary);
    QObject::connect(&instance, &SingleInstance::openURLRequested, &controller, &AppController::handleURLString);
    QObject::connect(
        &instance, &SingleInstance::activationRequested, &controller, [&controller] { controller.openMainWindow(); });

    AppShortcuts shortcuts;
    QObject::connect(
        &shortcuts, &AppShortcuts::openAppRequested, &controller, [&controller] { controller.openMainWindow(); });
    QObject::connect(&shortcuts, &AppShortcuts::openPreferencesRequested, &controller, &AppController::openPreferences);
    QObject::connect(&shortcuts, &AppShortcuts::quitRequested, &app, &QCoreApplication::quit);

    UnixSignals::quitOnTermination();
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &controller, &AppController::applicationWillTerminate);
    controller.applicationDidFinishLaunching();
    if (url.startsWith(QLatin1String("quillmote:")))
        QTimer::singleShot(0, &controller, [&controller, url] { controller.handleURLString(url); });
    return QApplication::exec();
}
