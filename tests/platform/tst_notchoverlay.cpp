#include "alerts/NotchController.h"
#include "core/SettingsStore.h"
#include "ipc/SocketServer.h"
#include "model/Format.h"
#include "platform/ClipboardPasteboard.h"
#include "platform/NotchOverlayWindow.h"
#include "platform/NotchPlatform.h"
#include "support/LogCapture.h"
#include "support/Programs.h"
#include "support/RequestRecorder.h"
#include "support/TestEnv.h"
#include "ui/QmlViews.h"

#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

// The real overlay under Xvfb: frames come from the stand-in tool over the socket, the
// pointer and keyboard from xdotool, replies and fills go back to the listening tool.
// With QM_SCREENSHOT_DIR set, each state is also written there as a PNG.
class TestNotchOverlay : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY2(qgetenv("QT_QPA_PLATFORM") == "xcb", "run under tests/support/session.sh"); }

    void init()
    {
        m_env = std::make_unique<TestEnv>();
        m_env->unset("QUILLMOTE_NOTCH_DEBUG");
        // Only the first test rings: without a sound device that is one logged failure.
        SettingsStore::setFlag(SettingsStore::Key::sound, false);
        m_server = std::make_unique<SocketServer>(m_env->socketPath());
        connect(
            m_server.get(), &SocketServer::logged, this, [](const QString &line) { qInfo("%s", qPrintable(line)); });
        LogCapture log;
        m_server->start();
        QVERIFY(log.waitFor(QStringLiteral("socket: listening at ")));

        NotchPorts ports = NotchPlatform::ports([](QQuickView &view, const QVariantMap &properties) {
            return QmlViews::load(view, QStringLiteral("NotchOverlayView"), properties);
        });
        auto makePanel = ports.makePanel;
        ports.makePanel = [this, makePanel](NotchViewModel &model) {
            auto panel = makePanel(model);
            m_window = static_cast<NotchOverlayWindow *>(panel.get());
            return panel;
        };
        m_notch = std::make_unique<NotchController>(ports);
        m_notch->onReply = [this](const ReplyFrame &f) { return m_server->broadcast(f); };
        m_notch->onFill = [this](const FillFrame &f) { return m_server->broadcast(f); };
        connect(m_server.get(), &SocketServer::notifyReceived, this, [this](const NotifyFrame &f) {
            m_notch->present(f, 2, AlertPolicy::decide(f, AlertPolicy::Switches::current(), {}));
        });
        m_simOut.clear();
    }

    void cleanup()
    {
        stopSim();
        m_notch.reset();
        m_window = nullptr;
        m_server->stop();
        m_server.reset();
        m_env.reset();
        moveTo(QPoint(1400, 880));
    }

    // A card arrives compact without taking focus, opens under the pointer, and closes by
    // its keys and its red dot.
    void arrivesCompactOpensOnHoverAndCloses()
    {
        SettingsStore::setFlag(SettingsStore::Key::sound, true);
        LogCapture log;
        QVERIFY(showFromSim({ "--sender", "deploy-bot", "--title", "需要你确认一条命令", "--body",
            "预发环境的迁移已准备好，确认后在终端里运行下面这条命令。", "--code",
            "kubectl rollout restart deploy/api -n staging", "--msg-id", "m2" }));
        // Centred at the top of the available area, 4 px down, and the shape is the window.
        QTRY_COMPARE(view()->size(), QSize(320, 44));
        const QRect g = view()->geometry();
        QCOMPARE(g.y(), 4);
        QVERIFY2(qAbs(g.center().x() - 720) <= 1, qPrintable(QString::number(g.center().x())));
        QVERIFY(QGuiApplication::focusWindow() != view());
        // Out of the taskbar: the window manager never sees it.
        const QString info = runTool("xwininfo", { "-id", QString::number(view()->winId()) });
        QVERIFY2(info.contains(QStringLiteral("Override Redirect State: yes")), qPrintable(info));
        // No sound device here: the chime's failure is logged once and changes nothing else.
        QVERIFY(log.contains(QStringLiteral("notch: arrival sound failed")));
        capture(QStringLiteral("notch-compact.png"));

        QVERIFY(hoverToExpand());
        QVERIFY(view()->height() > 150);
        QVERIFY(item("copyCode")->isVisible());
        capture(QStringLiteral("notch-expanded.png"));
        clickItem("copyCode");
        QTRY_COMPARE(m_notch->model().feedbackText(), QStringLiteral("代码已复制"));
        const QMimeData *data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data);
        QCOMPARE(data->text(), QStringLiteral("kubectl rollout restart deploy/api -n staging"));
        QCOMPARE(data->data(QString::fromLatin1(ClipboardPasteboard::concealedMime)), QByteArray("secret"));
        // Leaving collapses it and restarts the long backstop.
        moveTo(QPoint(1400, 880));
        QTRY_COMPARE(m_notch->model().stateName(), QStringLiteral("compact"));
        QCOMPARE(m_notch->pendingDismissDelay(), std::optional<double>(300));

        // Escape closes the reply field, the red dot the card.
        QVERIFY(hoverToExpand());
        clickItem("beginReply");
        QTRY_VERIFY(item("replyField")->hasActiveFocus());
        xdotool({ "key", "Escape" });
        QTRY_VERIFY(!m_notch->model().replyVisible());
        QVERIFY(hoverToExpand()); // the card shrank under the pointer; nothing pinned it
        clickItem("closeDot");
        QTRY_COMPARE(m_notch->model().stateName(), QStringLiteral("hidden"));
        QTRY_VERIFY(!view()->isVisible());
    }

    void replyAndFillReachTheListeningTerminal()
    {
        QVERIFY(
            showFromSim({ "--sender", "alice", "--body", "能帮我看一下 PR #42 吗？", "--msg-id", "m3", "--listen" }));
        QVERIFY(hoverToExpand());
        clickItem("beginReply");
        QTRY_COMPARE(QGuiApplication::focusWindow(), view());
        QTRY_VERIFY(item("replyField")->hasActiveFocus());
        xdotool({ "type", "--delay", "20", "on it, 5 min" });
        QTRY_COMPARE(m_notch->model().replyText(), QStringLiteral("on it, 5 min"));
        QTRY_VERIFY(settled());
        capture(QStringLiteral("notch-reply.png"));
        xdotool({ "key", "Return" });
        QTRY_COMPARE(m_simOut,
            QByteArray("{\"type\":\"reply\",\"sender\":\"alice\",\"text\":\"on it, 5 min\",\"msgId\":\"m3\"}\n"));
        QTRY_COMPARE(m_notch->model().feedbackText(), QStringLiteral("已回复 ✓"));
        QVERIFY(!m_notch->model().replyVisible());

        m_simOut.clear();
        clickItem("fill");
        QTRY_COMPARE(
            m_simOut, QByteArray("{\"type\":\"fill\",\"text\":\"能帮我看一下 PR #42 吗？\",\"msgId\":\"m3\"}\n"));
        QTRY_VERIFY(settled());
        capture(QStringLiteral("notch-feedback.png"));
    }

    // Titles, bodies and code are drawn as they are: markup in them loads nothing and
    // styles nothing, and a huge body is drawn as a preview while copy takes all of it.
    void untrustedTextIsDrawnAsPlainPreview()
    {
        RequestRecorder web;
        QVERIFY(web.listen());
        NotifyFrame frame;
        frame.type = QStringLiteral("notify");
        frame.sender = QStringLiteral("mallory");
        frame.title = QStringLiteral("<img src=\"%1\">标题").arg(web.url("/title"));
        frame.body = QStringLiteral("<b>hi</b><img src=\"%1\">").arg(web.url("/body")) + QString(2'000'000, u'x');
        frame.codeText = QStringLiteral("<img src=\"%1\">").arg(web.url("/code"));
        frame.msgId = QStringLiteral("m5");
        m_notch->present(frame, 1, Alert {});
        QTRY_VERIFY_WITH_TIMEOUT(view() && view()->isExposed(), 5000);
        m_notch->model().action(QStringLiteral("expand"));
        QTRY_VERIFY(m_notch->model().stateName() == QStringLiteral("expanded") && settled());
        QVERIFY(web.control(view()->engine(), view()->rootObject()));
        QCOMPARE(web.paths, QStringList { "/control" });
        QCOMPARE(web.connections, 1);

        QCOMPARE(m_notch->model().body().size(), Format::PreviewLimit::overlay);
        clickItem("copyBody");
        QTRY_COMPARE(m_notch->model().feedbackText(), QStringLiteral("已复制"));
        QCOMPARE(QGuiApplication::clipboard()->mimeData()->text(), frame.body);
    }

private:
    bool showFromSim(const QStringList &args);
    bool hoverToExpand();
    void stopSim();
    QQuickView *view() const;
    QQuickItem *item(const char *name) const;
    void moveTo(QPoint global, const QStringList &then = {});
    void clickItem(const char *name);
    bool settled() const;
    void capture(const QString &name);
    void xdotool(const QStringList &args) { runTool("xdotool", args); }

    std::unique_ptr<TestEnv> m_env;
    std::unique_ptr<SocketServer> m_server;
    std::unique_ptr<NotchController> m_notch;
    NotchOverlayWindow *m_window = nullptr;
    std::unique_ptr<QProcess> m_sim;
    QByteArray m_simOut;
};

// A message from the stand-in tool, once its card is on show at its size.
bool TestNotchOverlay::showFromSim(const QStringList &args)
{
    m_sim = std::make_unique<QProcess>();
    connect(
        m_sim.get(), &QProcess::readyReadStandardOutput, this, [this] { m_simOut += m_sim->readAllStandardOutput(); });
    m_sim->start(QStringLiteral("node"), QStringList { simPath(), QStringLiteral("notify") } + args);
    return m_sim->waitForStarted(5000)
        && QTest::qWaitFor([this] { return view() && view()->isExposed() && settled(); }, 5000);
}

bool TestNotchOverlay::hoverToExpand()
{
    moveTo(view()->geometry().center());
    return QTest::qWaitFor([this] { return m_notch->model().stateName() == QStringLiteral("expanded") && settled(); });
}

void TestNotchOverlay::stopSim()
{
    if (m_sim)
        stopProcess(*m_sim);
    m_sim.reset();
}

QQuickView *TestNotchOverlay::view() const
{
    return m_window ? m_window->view() : nullptr;
}

QQuickItem *TestNotchOverlay::item(const char *name) const
{
    return view() ? view()->rootObject()->findChild<QQuickItem *>(QLatin1String(name)) : nullptr;
}

void TestNotchOverlay::moveTo(QPoint p, const QStringList &then)
{
    xdotool(QStringList { "mousemove", QString::number(p.x()), QString::number(p.y()) } + then);
}

void TestNotchOverlay::clickItem(const char *name)
{
    // Under load the card may still be building its buttons.
    QQuickItem *it = nullptr;
    QTRY_VERIFY2_WITH_TIMEOUT((it = item(name)) && it->isVisible(), name, 10000);
    // Wait until the item has stopped moving: the card may still be growing.
    QPointF last(-1, -1);
    for (int i = 0; i < 50; ++i) {
        const QPointF now = it->mapToGlobal(QPointF(0, 0));
        if (now == last && settled())
            break;
        last = now;
        QTest::qWait(100);
    }
    moveTo(it->mapToGlobal(QPointF(it->width() / 2, it->height() / 2)).toPoint(), { "click", "1" });
}

// The window has caught up with the shape and the shape with its target.
bool TestNotchOverlay::settled() const
{
    QQuickItem *shape = item("shape");
    if (!shape || !view())
        return false;
    const QVariant w = view()->rootObject()->property("targetWidth");
    const QVariant h = view()->rootObject()->property("targetHeight");
    return qAbs(shape->width() - w.toReal()) < 0.5 && qAbs(shape->height() - h.toReal()) < 0.5
        && qAbs(view()->height() - std::ceil(shape->height())) <= 1
        && qAbs(view()->width() - std::ceil(shape->width())) <= 1;
}

void TestNotchOverlay::capture(const QString &name)
{
    keepPicture(
        name, [this] { return view()->grabWindow(); }, 250);
}

QTEST_MAIN(TestNotchOverlay)
#include "tst_notchoverlay.moc"
