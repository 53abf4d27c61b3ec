// The main window with a 100k-message history: the longest block of the main thread while
// selecting a conversation (model switch plus the first frame of the list) and while
// typing into the sidebar's search field, one keystroke at a time.
#include "BenchReport.h"

#include "platform/QmlViews.h"
#include "state/AppState.h"
#include "ui/ContentImageProvider.h"
#include "ui/MainViewModel.h"
#include "ui/ViewWindow.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickWindow>

namespace {
PanelState history(int count)
{
    PanelState s;
    s.selfInfo = SelfInfo{QStringLiteral("me"), QStringLiteral("A1B2C3D4")};
    const QStringList peers{QStringLiteral("alice"), QStringLiteral("bob"), QStringLiteral("carol"), QStringLiteral("dave")};
    const QDateTime start(QDate(2024, 1, 1), QTime(8, 0), Qt::UTC);
    s.messages.reserve(count);
    for (int i = 0; i < count; ++i) {
        // Most of the history is with one peer: the worst conversation to open.
        const QString peer = i % 10 == 0 ? peers[1 + (i / 10) % 3] : peers[0];
        JSONValue content = i % 3 == 0
            ? JSONValue::object({{QStringLiteral("parts"),
                                  JSONValue::array({JSONValue::object({{QStringLiteral("kind"), JSONValue::string(QStringLiteral("code"))},
                                                                       {QStringLiteral("code"), JSONValue::string(QStringLiteral("let x = %1;").arg(i))},
                                                                       {QStringLiteral("lang"), JSONValue::string(QStringLiteral("js"))}})})}})
            : JSONValue::object({{QStringLiteral("text"), JSONValue::string(QStringLiteral("message %1 about the build").arg(i))}});
        s.messages.append(Message{QStringLiteral("m%1").arg(i), peer, i % 2 ? QStringLiteral("in") : QStringLiteral("out"),
                                  QStringLiteral("text"), QStringLiteral("delivered"),
                                  start.addSecs(60LL * i).toString(Qt::ISODate), content});
    }
    return s;
}
} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    (void)QmlViews::baseUrl();

    AppState state;
    state.setState(history(100000));
    ViewWindow window({QStringLiteral("bench"), QSize(980, 640), QSize(820, 480), QStringLiteral("BenchMainWindow"),
                       QStringLiteral("MainView")});
    auto *images = new ContentImageProvider;
    window.engine()->addImageProvider(QLatin1String(ContentImageProvider::providerId), images);
    MainViewModel vm(state, nullptr, images);
    // The window goes first at exit: its bindings read the view model until then.
    window.load({{QStringLiteral("vm"), QVariant::fromValue(static_cast<QObject *>(&vm))}});
    window.bringToFront();
    (void)window.window()->grabWindow();

    auto block = [&](auto &&step) {
        QElapsedTimer t;
        t.start();
        step();
        QCoreApplication::processEvents();
        (void)window.window()->grabWindow(); // the frame that shows the result
        return t.nsecsElapsed() / 1e6;
    };

    double selectMax = 0;
    for (const char *peer : {"alice", "bob", "carol", "alice", "dave"})
        selectMax = std::max(selectMax, block([&] { vm.selectConversation(QString::fromLatin1(peer)); }));
    reportBench(QStringLiteral("mainwindow select conversation (100k msgs, longest block)"), selectMax, QStringLiteral("ms"),
                QStringLiteral("frame budget"), 16.0);

    double typeMax = 0;
    const QString typed = QStringLiteral("message 9999");
    for (int n = 1; n <= typed.size(); ++n)
        typeMax = std::max(typeMax, block([&] { vm.setSearchText(typed.left(n)); }));
    for (int n = typed.size() - 1; n >= 0; --n)
        typeMax = std::max(typeMax, block([&] { vm.setSearchText(typed.left(n)); }));
    reportBench(QStringLiteral("mainwindow search keystroke (100k msgs, longest block)"), typeMax, QStringLiteral("ms"),
                QStringLiteral("frame budget"), 16.0);
    window.window()->hide();
    return 0;
}
