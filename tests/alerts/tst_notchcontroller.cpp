#include "alerts/NotchController.h"
#include "fakes/FakeMotion.h"
#include "fakes/FakePanel.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeScheduler.h"
#include "fakes/FakeScreens.h"
#include "fakes/FakeSound.h"
#include "support/TestEnv.h"

#include <QTest>

// A controller on fakes, with its log lines and outgoing frames recorded.
struct Rig {
    Rig()
    {
        NotchPorts ports;
        ports.scheduler = clock;
        ports.screens = screens;
        ports.pasteboard = pasteboard;
        ports.sound = sound;
        ports.motion = motion;
        ports.makePanel = [this](NotchViewModel &) {
            ++panelsBuilt;
            return std::make_unique<FakePanel>(panel);
        };
        notch = std::make_unique<NotchController>(ports);
        QObject::connect(notch.get(), &NotchController::logged, [this](const QString &line) { log.append(line); });
        notch->onReply = [this](const ReplyFrame &f) {
            replies.append(f);
            return terminalListening;
        };
        notch->onFill = [this](const FillFrame &f) {
            fills.append(f);
            return terminalListening;
        };
    }

    NotchViewModel &model() { return notch->model(); }
    QString state() { return model().stateName(); }
    std::optional<QString> msgId() { return model().item() ? model().item()->msgId : std::nullopt; }
    int logCount(const QString &line) const { return int(log.count(line)); }

    std::shared_ptr<FakeScheduler> clock = std::make_shared<FakeScheduler>();
    std::shared_ptr<FakeScreens> screens = std::make_shared<FakeScreens>();
    std::shared_ptr<FakePasteboard> pasteboard = std::make_shared<FakePasteboard>();
    std::shared_ptr<FakeSound> sound = std::make_shared<FakeSound>();
    std::shared_ptr<FakeMotion> motion = std::make_shared<FakeMotion>();
    FakePanel::Record panel;
    int panelsBuilt = 0;
    std::unique_ptr<NotchController> notch;
    QStringList log;
    QList<ReplyFrame> replies;
    QList<FillFrame> fills;
    bool terminalListening = true;
};

static NotifyFrame frame(const QString &sender, const QString &msgId, const QString &body = QStringLiteral("hello"))
{
    NotifyFrame f;
    f.type = QStringLiteral("notify");
    f.sender = sender;
    f.body = body;
    if (!msgId.isEmpty())
        f.msgId = msgId;
    return f;
}

static Alert arrival(bool pulse, bool chime = true)
{
    Alert a;
    a.overlay = pulse ? Alert::Overlay::pulse : Alert::Overlay::show;
    a.chime = chime;
    return a;
}

static NotifyFrame codeFrame(const QString &code)
{
    NotifyFrame f = frame(QStringLiteral("alice"), QStringLiteral("m1"), QStringLiteral("run this"));
    f.hasCode = true;
    f.codeText = code;
    return f;
}

static int midX(const QRect &r)
{
    return r.x() + r.width() / 2;
}

// A second screen right of FakeScreens' first: 1920 wide, no top panel.
static NotchScreen right()
{
    NotchScreen s;
    s.name = QStringLiteral("RIGHT");
    s.frame = s.available = QRect(1440, 0, 1920, 1080);
    return s;
}

class TestNotchController : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnv>();
        m_env->unset("QUILLMOTE_NOTCH_DEBUG");
    }
    // The environment of one test is undone before the next one's is made, so settings
    // never reach the real configuration folder.
    void cleanup() { m_env.reset(); }

    void secondFrameWaitsAndFollowsTheFirst_data()
    {
        QTest::addColumn<bool>("secondPulse");
        QTest::addColumn<int>("waitingBehind");
        QTest::addColumn<double>("secondTimer");
        QTest::newRow("non-pulse, last") << false << 0 << 300.0;
        QTest::newRow("pulse, last") << true << 0 << 8.0;
        QTest::newRow("more waiting") << false << 1 << 6.0;
    }

    void secondFrameWaitsAndFollowsTheFirst()
    {
        QFETCH(bool, secondPulse);
        QFETCH(int, waitingBehind);
        QFETCH(double, secondTimer);
        Rig r;
        r.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(false));
        QCOMPARE(r.logCount(QStringLiteral("notch: show m1 from @alice")), 1);
        QCOMPARE(r.notch->pendingDismissDelay(), std::optional<double>(300));

        r.clock->advance(10);
        r.notch->present(frame(QStringLiteral("bob"), QStringLiteral("m2")), 2, arrival(secondPulse));
        QCOMPARE(r.log.last(), QStringLiteral("notch: queued (1 waiting) m2 from @bob"));
        for (int i = 0; i < waitingBehind; ++i)
            r.notch->present(frame(QStringLiteral("carol"), {}), 3, arrival(false));
        QCOMPARE(r.model().queued(), 1 + waitingBehind);
        QCOMPARE(r.msgId(), std::optional<QString>("m1"));
        // The arrival does not shorten the first item's backstop; leaving the pointer does.
        QCOMPARE(r.notch->pendingDismissDelay(), std::optional<double>(300));
        r.notch->hoverChanged(true);
        QCOMPARE(r.state(), QStringLiteral("expanded"));
        QCOMPARE(r.notch->pendingDismissDelay(), std::nullopt);
        r.notch->hoverChanged(false);
        QCOMPARE(r.state(), QStringLiteral("compact"));
        QCOMPARE(r.notch->pendingDismissDelay(), std::optional<double>(4));

        r.clock->advance(4);
        QCOMPARE(r.state(), QStringLiteral("hidden"));
        r.clock->advance(0.31);
        QCOMPARE(r.msgId(), std::optional<QString>("m1"));
        r.clock->advance(0.01);
        QCOMPARE(r.state(), QStringLiteral("compact"));
        QCOMPARE(r.msgId(), std::optional<QString>("m2"));
        QCOMPARE(r.model().unread(), 2);
        QCOMPARE(r.model().isPulse(), secondPulse);
        QCOMPARE(r.model().queued(), waitingBehind);
        QCOMPARE(r.notch->pendingDismissDelay(), std::optional<double>(secondTimer));
        QCOMPARE(r.panel.orderOuts, 0);
        QCOMPARE(r.panelsBuilt, 1);
    }

    void closingHidesAndAFrameMeanwhileShowsAtOnce()
    {
        Rig r;
        r.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(false));
        r.notch->hoverChanged(true);
        r.notch->handle({ NotchAction::Kind::beginReply, {} });
        r.model().setReplyText(QStringLiteral("draft"));
        r.clock->advance(299);
        QCOMPARE(r.state(), QStringLiteral("expanded"));
        r.notch->handle({ NotchAction::Kind::dismiss, {} });
        QCOMPARE(r.log.last(), QStringLiteral("notch: dismiss (red dot) m1"));
        QCOMPARE(r.state(), QStringLiteral("hidden"));
        QVERIFY(!r.model().replyVisible());
        QVERIFY(!r.panel.focus);
        QVERIFY(r.panel.visible);

        // A frame while closing shows at once, with an empty reply field, in the same panel.
        r.notch->present(frame(QStringLiteral("bob"), QStringLiteral("m2")), 1, arrival(false));
        QCOMPARE(r.state(), QStringLiteral("compact"));
        QCOMPARE(r.msgId(), std::optional<QString>("m2"));
        QCOMPARE(r.model().replyText(), QString());
        r.clock->advance(0.5);
        QCOMPARE(r.state(), QStringLiteral("compact"));
        QCOMPARE(r.panel.orderOuts, 0);

        // Closing with nothing waiting orders the panel out once the close has run.
        r.notch->handle({ NotchAction::Kind::dismiss, {} });
        r.clock->advance(0.32);
        QVERIFY(!r.panel.visible);
        QCOMPARE(r.model().queued(), 0);
        QCOMPARE(r.panelsBuilt, 1);
        // Hover is ignored while hidden.
        r.notch->hoverChanged(true);
        QCOMPARE(r.state(), QStringLiteral("hidden"));
    }

    void pinAndReplyFieldSurviveHoverOut()
    {
        Rig r;
        r.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(true));
        r.notch->handle({ NotchAction::Kind::expand, {} });
        QVERIFY(r.notch->pinned());
        r.notch->hoverChanged(true);
        r.notch->hoverChanged(false);
        QCOMPARE(r.state(), QStringLiteral("expanded"));
        QCOMPARE(r.notch->pendingDismissDelay(), std::nullopt); // entering cancelled the 45 s

        Rig s;
        s.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(true));
        s.notch->hoverChanged(true);
        s.notch->handle({ NotchAction::Kind::beginReply, {} });
        QCOMPARE(s.panel.focusRequests, QList<bool> { true });
        s.notch->hoverChanged(false);
        QCOMPARE(s.state(), QStringLiteral("expanded"));
        QCOMPARE(s.notch->pendingDismissDelay(), std::nullopt);
        s.clock->advance(1000);
        QCOMPARE(s.state(), QStringLiteral("expanded"));
    }

    void actionsScheduleFlashAndLog_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("listening");
        QTest::addColumn<double>("timer");
        QTest::addColumn<QString>("flash");
        QTest::addColumn<QString>("logLine");
        using K = NotchAction::Kind;
        QTest::newRow("expand") << int(K::expand) << "" << true << 45.0 << ""
                                << "notch: expand+pin (click) m1";
        QTest::newRow("copy body") << int(K::copyBody) << "" << true << 300.0 << "已复制"
                                   << "notch: copy body m1";
        QTest::newRow("copy code") << int(K::copyCode) << "" << true << 300.0 << "代码已复制"
                                   << "notch: copy code (13 chars) m1";
        QTest::newRow("cancel reply") << int(K::cancelReply) << "" << true << 2.5 << ""
                                      << "notch: reply cancelled (esc) m1";
        QTest::newRow("fill delivered") << int(K::fill) << "" << true << 1.6 << "已发送到终端 ⤵"
                                        << "notch: fill (user-initiated, 13 chars, delivered=true) m1";
        QTest::newRow("fill, no terminal") << int(K::fill) << "" << false << 3.0 << "终端未连接"
                                           << "notch: fill (user-initiated, 13 chars, delivered=false) m1";
        QTest::newRow("reply delivered") << int(K::submitReply) << "ok" << true << 1.4 << "已回复 ✓"
                                         << "";
        QTest::newRow("reply, no terminal") << int(K::submitReply) << "ok" << false << 4.0 << "终端未连接，未发送"
                                            << "notch: reply NOT delivered (no client connected) m1";
    }

    void actionsScheduleFlashAndLog()
    {
        QFETCH(int, kind);
        QFETCH(QString, text);
        QFETCH(bool, listening);
        QFETCH(double, timer);
        QFETCH(QString, flash);
        QFETCH(QString, logLine);
        Rig r;
        r.terminalListening = listening;
        r.notch->present(codeFrame(QStringLiteral("git push -f\n ")), 1, arrival(false));
        r.log.clear();
        r.notch->handle({ NotchAction::Kind(kind), text });
        QCOMPARE(r.notch->pendingDismissDelay(), std::optional<double>(timer));
        QCOMPARE(r.model().feedbackText(), flash);
        if (logLine.isEmpty())
            QVERIFY2(r.log.isEmpty(), qPrintable(r.log.join('\n')));
        else
            QCOMPARE(r.log, QStringList { logLine });
        if (kind == int(NotchAction::Kind::fill))
            QCOMPARE(r.fills, (QList<FillFrame> { { QStringLiteral("git push -f\n "), QStringLiteral("m1") } }));
        if (kind == int(NotchAction::Kind::submitReply))
            QCOMPARE(r.replies,
                (QList<ReplyFrame> { { QStringLiteral("alice"), QStringLiteral("ok"), QStringLiteral("m1") } }));
        if (kind == int(NotchAction::Kind::copyCode))
            QCOMPARE(r.pasteboard->copies, QStringList { QStringLiteral("git push -f\n ") });
    }

    void bannerReplyShowsEveryMessageOnce()
    {
        Rig r;
        r.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(false));
        r.notch->present(frame(QStringLiteral("bob"), QStringLiteral("m2")), 2, arrival(false));
        r.notch->present(frame(QStringLiteral("carol"), QStringLiteral("m3")), 3, arrival(false));
        // "回复" on bob's banner: bob leaves the queue, alice (on show) goes back to its head.
        QVERIFY(r.notch->openReply(frame(QStringLiteral("bob"), QStringLiteral("m2")), 3));
        QCOMPARE(r.msgId(), std::optional<QString>("m2"));
        QVERIFY(r.model().replyVisible());
        QCOMPARE(r.notch->queueLength(), 2);
        QCOMPARE(r.model().queued(), 2);

        r.notch->handle({ NotchAction::Kind::submitReply, QStringLiteral("ok") });
        QStringList shown { *r.msgId() };
        for (int step = 0; step < 20 && (r.state() != QStringLiteral("hidden") || r.notch->queueLength() > 0); ++step) {
            r.clock->advance(r.notch->pendingDismissDelay().value_or(0.5));
            if (r.state() != QStringLiteral("hidden") && r.msgId() != shown.last())
                shown << *r.msgId();
        }
        QCOMPARE(shown, (QStringList { "m2", "m1", "m3" }));

        // Replying to the message already on show neither queues nor repeats it.
        Rig s;
        s.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(false));
        QVERIFY(s.notch->openReply(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1));
        QCOMPARE(s.notch->queueLength(), 0);
    }

    void clicksOnTheOpenCardNeitherPinNorStretchTheClose()
    {
        Rig r;
        r.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(false));
        r.notch->hoverChanged(true);
        r.notch->handle({ NotchAction::Kind::beginReply, {} });
        r.notch->handle({ NotchAction::Kind::expand, {} }); // a click into the text being typed
        QVERIFY(!r.notch->pinned());
        QCOMPARE(r.notch->pendingDismissDelay(), std::nullopt);

        r.notch->handle({ NotchAction::Kind::submitReply, QStringLiteral("ok") });
        r.notch->handle({ NotchAction::Kind::expand, {} });
        QCOMPARE(r.notch->pendingDismissDelay(), std::optional<double>(1.4));
        r.notch->handle({ NotchAction::Kind::fill, {} });
        r.notch->handle({ NotchAction::Kind::expand, {} });
        QCOMPARE(r.notch->pendingDismissDelay(), std::optional<double>(1.6));
    }

    void debugSwitch_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("on");
        QTest::newRow("1") << QByteArray("1") << true;
        QTest::newRow("true") << QByteArray("true") << false;
    }

    void debugSwitch()
    {
        QFETCH(QByteArray, value);
        QFETCH(bool, on);
        m_env->set("QUILLMOTE_NOTCH_DEBUG", value);
        Rig r;
        QCOMPARE(r.notch->debugForceExpanded(), on);
        r.notch->present(frame(QStringLiteral("alice"), QStringLiteral("m1")), 1, arrival(false));
        r.notch->present(frame(QStringLiteral("bob"), QStringLiteral("m2")), 1, arrival(false));
        if (on) {
            QCOMPARE(r.state(), QStringLiteral("expanded"));
            QCOMPARE(r.msgId(), std::optional<QString>("m2"));
            QCOMPARE(r.notch->queueLength(), 0);
            QCOMPARE(
                r.logCount(QStringLiteral("notch: DEBUG forced expanded, auto-dismiss off (QUILLMOTE_NOTCH_DEBUG=1)")),
                2);
            r.clock->advance(100000);
            QCOMPARE(r.state(), QStringLiteral("expanded"));
        } else {
            QCOMPARE(r.state(), QStringLiteral("compact"));
            QCOMPARE(r.msgId(), std::optional<QString>("m1"));
            QCOMPARE(r.notch->queueLength(), 1);
        }
    }

    void chimeIsDebouncedAndOnlyWhenAsked()
    {
        Rig r;
        r.notch->present(frame(QStringLiteral("a"), {}), 1, arrival(false));
        r.clock->advance(0.5);
        r.notch->present(frame(QStringLiteral("b"), {}), 1, arrival(false)); // queued, still considered
        QCOMPARE(r.sound->plays, 1);
        r.clock->advance(0.31); // 0.81 s after the first chime
        r.notch->present(frame(QStringLiteral("c"), {}), 1, arrival(false));
        QCOMPARE(r.sound->plays, 2);

        r.clock->advance(5);
        r.notch->present(frame(QStringLiteral("d"), {}), 1, arrival(false, false));
        QCOMPARE(r.sound->plays, 2);
    }

    void noScreenDropsTheFrameSilently()
    {
        Rig r;
        r.screens->list.clear();
        r.notch->present(frame(QStringLiteral("a"), QStringLiteral("m0")), 1, arrival(false));
        QCOMPARE(r.sound->plays, 0);
        QCOMPARE(r.notch->queueLength(), 0);
        QCOMPARE(r.panelsBuilt, 0);
        QVERIFY(r.log.isEmpty());
        QVERIFY(!r.model().item());
    }

    // Left: 1440 wide under a 28 px panel (primary); right: 1920 wide, no panel.
    void overlayGoesWhereTheUserLooks_data()
    {
        QTest::addColumn<int>("focused");
        QTest::addColumn<int>("pointer");
        QTest::addColumn<int>("centreX");
        QTest::addColumn<int>("top");
        QTest::newRow("focused window on the right") << 1 << 0 << 1440 + 960 << 4;
        QTest::newRow("no focus, pointer on the right") << -1 << 1 << 1440 + 960 << 4;
        QTest::newRow("neither known: primary") << -1 << -1 << 720 << 32;
        QTest::newRow("stale index: primary") << 5 << -1 << 720 << 32;
    }
    void overlayGoesWhereTheUserLooks()
    {
        QFETCH(int, focused);
        QFETCH(int, pointer);
        QFETCH(int, centreX);
        QFETCH(int, top);
        Rig r;
        r.screens->list.append(right());
        r.screens->focused = focused;
        r.screens->pointer = pointer;
        r.notch->present(frame(QStringLiteral("a"), QStringLiteral("m1")), 1, arrival(false));
        QCOMPARE(midX(r.panel.frame), centreX);
        QCOMPARE(r.panel.frame.top(), top);
    }

    void screenChangesRefitTheShownOverlay()
    {
        Rig r;
        const NotchScreen left = r.screens->list.first();
        const NotchScreen right = ::right();
        r.screens->list.append(right);
        r.screens->focused = 1;
        r.notch->present(frame(QStringLiteral("a"), QStringLiteral("m1")), 1, arrival(false));
        QCOMPARE(midX(r.panel.frame), 2400);

        // Its screen grows a top panel: it moves down with it, on the same screen.
        NotchScreen paneled = right;
        paneled.available.adjust(0, 30, 0, 0);
        r.screens->change({ left, paneled });
        QCOMPARE(midX(r.panel.frame), 2400);
        QCOMPARE(r.panel.frame.top(), 34);
        // Its screen is unplugged: it goes to the one left.
        r.screens->focused = -1;
        r.screens->change({ left });
        QCOMPARE(midX(r.panel.frame), 720);
        QCOMPARE(r.logCount(QStringLiteral("notch: screens changed — refitted on XVFB-1")), 1);

        // Hidden, it does not move; the next message picks the screen again.
        r.notch->handle({ NotchAction::Kind::dismiss, {} });
        r.clock->advance(1);
        const QRect before = r.panel.frame;
        r.screens->change({ left, right });
        QCOMPARE(r.panel.frame, before);
    }

private:
    std::unique_ptr<TestEnv> m_env;
};

QTEST_GUILESS_MAIN(TestNotchController)
#include "tst_notchcontroller.moc"
