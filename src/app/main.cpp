#include "app/AppController.h"
#include "app/Log.h"
#include "platform/UnixSignals.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    Log::install();
    // With no display at all (a server, a CI box) the app still serves the socket.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        Log::info(Log::Category::lifecycle, QStringLiteral("no display — running with the offscreen platform"));
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("quillmote-notifier"));
    QApplication::setApplicationVersion(QStringLiteral(QM_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);

    AppController controller;
    UnixSignals::quitOnTermination();
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &controller, &AppController::applicationWillTerminate);
    controller.applicationDidFinishLaunching();
    return QApplication::exec();
}
