#include "cli/CLIRunner.h"
#include "core/SettingsStore.h"
#include "model/Format.h"
#include "state/AppState.h"
#include "state/DaemonManager.h"
#include "state/SessionListModel.h"
#include "state/StateClient.h"
#include "support/LogCapture.h"
#include "support/Programs.h"
#include "support/RequestRecorder.h"
#include "support/SimWeb.h"
#include "support/TestEnv.h"
#include "ui/ConversationModel.h"
#include "ui/MainViewModel.h"
#include "ui/MainWindowController.h"
#include "ui/NativePreviewWindowController.h"
#include "ui/PreferencesWindowController.h"
#include "ui/Theme.h"

#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QProcess>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
void saveShot(QQuickWindow *window, const QString &name)
{
    keepPicture(
        name, [window] { return window->grabWindow(); }, 400);
}

// Items made by repeaters and loaders hang in the item tree only. With a text, only a
// visible item that shows it.
QQuickItem *findItem(QQuickItem *item, const QString &name, const QString &text = {})
{
    if (item->objectName() == name
        && (text.isNull() || (item->property("text").toString() == text && item->isVisible())))
        return item;
    for (QQuickItem *child : item->childItems())
        if (QQuickItem *found = findItem(child, name, text))
            return found;
    return nullptr;
}

// Keys and clicks through the X server, as a user's would arrive.
void xdotool(const QStringList &args)
{
    QProcess p;
    p.start(u"xdotool"_s, args);
    QVERIFY2(p.waitForFinished(5000) && p.exitCode() == 0, qPrintable(args.join(' ')));
}

void clickOn(QQuickItem *item, const char *button = "1")
{
    const QPoint at = item->mapToGlobal(QPointF(item->width() / 2, item->height() / 2)).toPoint();
    xdotool({ "mousemove", QString::number(at.x()), QString::number(at.y()), "click", button });
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QGuiApplication::setQuitOnLastWindowClosed(false); }

    void init() { CLIRunner::resetCacheForTesting(); }

    void cleanup()
    {
        if (const auto pid = DaemonManager::shared().childPid())
            killAndWait(*pid);
    }

    // Opens on a conversation and follows what the event stream brings. A bubble draws its
    // text as it is (markup loads and styles nothing), a long one as a preview with the rest
    // on demand; a handle from the document is drawn as it is in the sidebar.
    void opensOnAConversationAndFollowsPushes()
    {
        TestEnv env;
        LogCapture log;
        RequestRecorder recorder;
        QVERIFY(recorder.listen());
        SimWeb web;
        QVERIFY(web.start(env, { u"--messages"_s, u"60"_s }));
        AppState state;
        StateClient client;
        client.setPollIntervalForTesting(60000); // the event stream alone must bring the last push
        state.follow(client);
        MainWindowController controller(state, client);

        const QString text = u"<b>hi</b><img src=\"%1\">"_s.arg(recorder.url("/bubble")) + QString(10000, u'x');
        QVERIFY(web.command({ u"push"_s, u"--peer"_s, u"alice"_s, u"--text"_s, text }));
        // Handles come from the document too: the sidebar lists this one at the top.
        QVERIFY(web.command(
            { u"push"_s, u"--peer"_s, u"<img src=\"%1\">"_s.arg(recorder.url("/peer")), u"--text"_s, u"hi"_s }));

        controller.open(u"alice"_s);
        QVERIFY(log.waitFor(u"open: window foregrounded, focus deep-link"_s));
        QVERIFY(controller.window()->isVisible());
        ConversationModel *conversation = controller.viewModel()->conversation();
        QVERIFY(QTest::qWaitFor([&] { return conversation->rowCount() == 16; }, 10000));
        QCOMPARE(state.unreadCount(u"alice"_s), 0);
        QQuickItem *more = nullptr;
        QTRY_VERIFY((more = findItem(controller.window()->contentItem(), u"showMore"_s)) && more->isVisible());
        QVERIFY(recorder.control(qmlEngine(more), more));
        QCOMPARE(recorder.paths, QStringList { "/control" });
        QQuickItem *shown = findItem(controller.window()->contentItem(), u"partText"_s);
        QVERIFY(shown);
        QCOMPARE(shown->property("text").toString().size(), Format::PreviewLimit::bubble);
        QVERIFY(more->property("text").toString().startsWith(u"显示全部"_s));
        QTest::mouseClick(controller.window(), Qt::LeftButton, {},
            more->mapToScene(QPointF(more->width() / 2, more->height() / 2)).toPoint());
        QTRY_COMPARE(shown->property("text").toString(), text);
        QVERIFY(!more->isVisible());

        auto *list = findItem(controller.window()->contentItem(), u"conversationList"_s);
        QVERIFY(web.command({ u"push"_s, u"--peer"_s, u"alice"_s, u"--text"_s, u"pushed from the stand-in"_s }));
        QVERIFY(QTest::qWaitFor([&] { return conversation->rowCount() == 17; }, 3000));
        QTRY_COMPARE(list->property("count").toInt(), 17);

        // Closing only hides; the next open shows the same window without a peer.
        QSignalSpy closed(&controller, &MainWindowController::closed);
        controller.window()->close();
        QCOMPARE(closed.count(), 1);
        QVERIFY(!controller.window()->isVisible());
        QVERIFY(SettingsStore::value(u"QuillmoteMainWindow"_s));
        controller.open(std::nullopt);
        QVERIFY(log.waitFor(u"open: window foregrounded"_s, 5000, 2));
        QVERIFY(controller.window()->isVisible());
        QCOMPARE(controller.viewModel()->selectedPeer(), u"alice"_s);
    }

    void offlineViewStartsTheServer()
    {
        TestEnv env;
        env.set("QUILLMOTE_WEB_PORT", QByteArray::number(freePort()));
        // No tool anywhere: the client's own attempt and the first press both fail.
        env.set("QUILLMOTE_BIN", (env.root() + u"/missing"_s).toUtf8());
        const QByteArray path = qgetenv("PATH");
        env.set("PATH", env.root().toUtf8());

        AppState state;
        StateClient client;
        state.follow(client);
        MainWindowController controller(state, client);
        QSignalSpy prefs(&controller, &MainWindowController::openPreferencesRequested);
        controller.open(std::nullopt);
        MainViewModel *vm = controller.viewModel();
        QVERIFY(QTest::qWaitFor([&] { return vm->offline(); }, 15000));
        auto *button = findItem(controller.window()->contentItem(), u"launchButton"_s);
        QVERIFY(button && button->isVisible());
        QCOMPARE(button->property("text").toString(), u"启动监督服务"_s);
        saveShot(controller.window(), u"main-offline.png"_s);

        QMetaObject::invokeMethod(button, "clicked");
        QVERIFY(vm->launching());
        QVERIFY(QTest::qWaitFor([&] { return !vm->launching(); }, 20000));
        QCOMPARE(vm->launchError(), u"无法启动监督服务。\n请手动在终端运行 quillmote web。"_s);

        env.set("QUILLMOTE_BIN", simPath().toUtf8());
        env.set("PATH", path); // the stand-in runs on node
        CLIRunner::resetCacheForTesting();
        vm->launchServer();
        QVERIFY(QTest::qWaitFor([&] { return !vm->offline() && !vm->launching(); }, 20000));
        QVERIFY(vm->launchError().isEmpty());
        QVERIFY(QTest::qWaitFor([&] { return !state.sessions().isEmpty(); }, 5000));
        vm->openPreferences();
        QCOMPARE(prefs.count(), 1);
    }

    void keyboardAndCopy()
    {
        TestEnv env;
        NativePreviewWindowController preview;
        preview.open();
        QQuickWindow *window = preview.window();
        QTRY_COMPARE(QGuiApplication::focusWindow(), window);
        MainViewModel *vm = preview.viewModel();
        auto *sessions = static_cast<SessionListModel *>(vm->sessions());
        auto *list = findItem(window->contentItem(), u"sessionList"_s);
        auto *search = findItem(window->contentItem(), u"searchField"_s);
        QVERIFY(list && search);
        QTRY_VERIFY(list->hasActiveFocus());

        // Up, Down and Enter in the sidebar.
        xdotool({ "key", "Down", "Down", "Up" });
        QTRY_COMPARE(list->property("currentIndex").toInt(), 1);
        xdotool({ "key", "Return" });
        QTRY_COMPARE(vm->selectedPeer(), sessions->data(sessions->index(1), SessionListModel::PeerRole).toString());
        const int reviewer = sessions->rowOf(u"bot-reviewer"_s);
        for (int i = 1; i != reviewer; i += reviewer > i ? 1 : -1)
            xdotool({ "key", reviewer > i ? "Down" : "Up" });
        xdotool({ "key", "KP_Enter" });
        QTRY_COMPARE(vm->selectedPeer(), u"bot-reviewer"_s);

        // Copy from a bubble: select with the keys, Ctrl+C, the clipboard has it.
        const QString finding = u"缓存键没有包含语言区域，切换语言后会读到旧页面。"_s;
        QQuickItem *text = nullptr;
        QTRY_VERIFY((text = findItem(window->contentItem(), u"partText"_s, finding)));
        auto *conversation = findItem(window->contentItem(), u"conversationList"_s);
        QTRY_VERIFY(conversation->boundingRect().contains(text->mapRectToItem(conversation, text->boundingRect())));
        clickOn(text);
        QTRY_VERIFY(text->hasActiveFocus());
        xdotool({ "key", "ctrl+a", "ctrl+c" });
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), finding);
        // Its right-click menu; then the code's own copy button.
        QObject *menu = text->findChild<QObject *>(u"textMenu"_s);
        QVERIFY(menu);
        clickOn(text, "3");
        QTRY_VERIFY(menu->property("opened").toBool());
        xdotool({ "key", "Escape" });
        QTRY_VERIFY(!menu->property("opened").toBool());
        clickOn(findItem(window->contentItem(), u"copyCode"_s));
        QTRY_COMPARE(QGuiApplication::clipboard()->text(), u"const key = `${route}`;\n// 应为：`${locale}:${route}`"_s);

        // Ctrl+F searches; Esc clears, a second Esc leaves the field.
        xdotool({ "key", "ctrl+f" });
        QTRY_VERIFY(search->hasActiveFocus());
        xdotool({ "type", "alice" });
        QTRY_COMPARE(vm->searchText(), u"alice"_s);
        QCOMPARE(sessions->rowCount(), 1);
        xdotool({ "key", "Escape" });
        QTRY_COMPARE(vm->searchText(), QString());
        QVERIFY(search->hasActiveFocus());
        xdotool({ "key", "Escape" });
        QTRY_VERIFY(list->hasActiveFocus());

        // The profile page does not offer itself.
        auto *profileButton = findItem(window->contentItem(), u"profileButton"_s);
        QVERIFY(profileButton->isVisible());
        vm->openProfile();
        QTRY_VERIFY(!profileButton->isVisible());

        // The same window in the desktop's light and dark schemes.
        vm->selectConversation(u"bot-reviewer"_s);
        xdotool({ "mousemove", "0", "0" });
        saveShot(window, u"main-light.png"_s);
        Theme::instance()->setDark(true);
        saveShot(window, u"main-dark.png"_s);
        Theme::instance()->setDark(false);

        xdotool({ "key", "ctrl+w" });
        QTRY_VERIFY(!window->isVisible());
    }

    void preferences()
    {
        TestEnv env;
        PreferencesWindowController prefs;
        prefs.open();
        QVERIFY(prefs.window()->isVisible());
        // Tall enough for every section: the about pane's log command is not cut off.
        const QQuickItem *view = prefs.window()->contentItem()->childItems().first();
        QTRY_VERIFY(prefs.window()->height() >= int(view->implicitHeight()));
        auto *quiet = findItem(prefs.window()->contentItem(), u"switch:quietWhenTerminalFocused"_s);
        QVERIFY(quiet);
        QCOMPARE(quiet->property("checked").toBool(), false);
        QMetaObject::invokeMethod(quiet, "toggle");
        QMetaObject::invokeMethod(quiet, "toggled");
        QVERIFY(SettingsStore::flag(SettingsStore::Key::quietWhenFocused));
        saveShot(prefs.window(), u"preferences.png"_s);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
