#include "alerts/NotchController.h"
#include "fakes/FakeMotion.h"
#include "fakes/FakePanel.h"
#include "fakes/FakePasteboard.h"
#include "fakes/FakeScheduler.h"
#include "fakes/FakeScreens.h"
#include "fakes/FakeSound.h"
#include "support/Table.h"
#include "support/TestEnv.h"

#include <QTest>

using K = NotchAction::Kind;

static NotifyFrame frame(const QString &sender, const QString &msgId, const QString &body = "hello")
{
    NotifyFrame f;
    f.type = "notify";
    f.sender = sender;
    f.body = body;
    if (!msgId.isEmpty())
        f.msgId = msgId;
    return f;
}

// A controller on fakes, with its log lines and outgoing frames recorded.
struct Rig {
    Rig()
    {
        NotchPorts ports { clock, screens, pasteboard, sound, motion, {} };
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

    void show(const QString &sender, const QString &msgId = {}, bool pulse = false, bool chime = true, int unread = 1)
    {
        Alert a;
        a.overlay = pulse ? Alert::Overlay::pulse : Alert::Overlay::show;
        a.chime = chime;
        notch->present(frame(sender, msgId), unread, a);
    }
    void act(K kind, const QString &text = {}) { notch->handle({ kind, text }); }
    NotchViewModel &model() { return notch->model(); }
    QString state() { return model().stateName(); }
    QString msgId() { return model().item() ? model().item()->msgId.value_or("-") : QString(); }
    std::optional<double> timer() { return notch->pendingDismissDelay(); }

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

static int midX(const QRect &r)
{
    return r.x() + r.width() / 2;
}

// A second screen right of FakeScreens' first: 1920 wide, no top panel.
static NotchScreen right()
{
    NotchScreen s;
    s.name = "RIGHT";
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
        Table::load<bool, int, double>({ "secondPulse", "waitingBehind", "secondTimer" });
    }
    void secondFrameWaitsAndFollowsTheFirst()
    {
        QFETCH(bool, secondPulse);
        QFETCH(int, waitingBehind);
        QFETCH(double, secondTimer);
        Rig r;
        r.show("alice", "m1");
        QCOMPARE(r.timer(), 300.0);

        r.clock->advance(10);
        r.show("bob", "m2", secondPulse, true, 2);
        QCOMPARE(r.log.last(), "notch: queued (1 waiting) m2 from @bob");
        for (int i = 0; i < waitingBehind; ++i)
            r.show("carol", {}, false, true, 3);
        QCOMPARE(r.model().queued(), 1 + waitingBehind);
        QCOMPARE(r.msgId(), "m1");
        // The arrival does not shorten the first item's backstop; leaving the pointer does.
        QCOMPARE(r.timer(), 300.0);
        r.notch->hoverChanged(true);
        QCOMPARE(r.state(), "expanded");
        QCOMPARE(r.timer(), std::nullopt);
        r.notch->hoverChanged(false);
        QCOMPARE(r.state(), "compact");
        QCOMPARE(r.timer(), 4.0);

        r.clock->advance(4);
        QCOMPARE(r.state(), "hidden");
        r.clock->advance(0.31);
        QCOMPARE(r.msgId(), "m1");
        r.clock->advance(0.01);
        QCOMPARE(r.state(), "compact");
        QCOMPARE(r.msgId(), "m2");
        QCOMPARE(r.model().unread(), 2);
        QCOMPARE(r.model().isPulse(), secondPulse);
        QCOMPARE(r.model().queued(), waitingBehind);
        QCOMPARE(r.timer(), secondTimer);
        QCOMPARE(r.panel.orderOuts, 0);
        QCOMPARE(r.panelsBuilt, 1);
    }

    void closingHidesAndAFrameMeanwhileShowsAtOnce()
    {
        Rig r;
        r.show("alice", "m1");
        r.notch->hoverChanged(true);
        r.act(K::beginReply);
        r.model().setReplyText("draft");
        r.clock->advance(299);
        QCOMPARE(r.state(), "expanded");
        r.act(K::dismiss);
        QCOMPARE(r.log.last(), "notch: dismiss (red dot) m1");
        QCOMPARE(r.state(), "hidden");
        QVERIFY(!r.model().replyVisible());
        QVERIFY(!r.panel.focus);
        QVERIFY(r.panel.visible);

        // A frame while closing shows at once, with an empty reply field, in the same panel.
        r.show("bob", "m2");
        QCOMPARE(r.state(), "compact");
        QCOMPARE(r.msgId(), "m2");
        QCOMPARE(r.model().replyText(), QString());
        r.clock->advance(0.5);
        QCOMPARE(r.state(), "compact");
        QCOMPARE(r.panel.orderOuts, 0);

        // Closing with nothing waiting orders the panel out once the close has run.
        r.act(K::dismiss);
        r.clock->advance(0.32);
        QVERIFY(!r.panel.visible);
        QCOMPARE(r.model().queued(), 0);
        QCOMPARE(r.panelsBuilt, 1);
        r.notch->hoverChanged(true); // ignored while hidden
        QCOMPARE(r.state(), "hidden");
    }

    // What keeps the card open: a pin, or a reply being typed; clicks into the open card
    // neither pin it nor stretch a close already scheduled.
    void pinAndReplyFieldSurviveHoverOut()
    {
        Rig r;
        r.show("alice", "m1", true);
        r.act(K::expand);
        QVERIFY(r.notch->pinned());
        r.notch->hoverChanged(true);
        r.notch->hoverChanged(false);
        QCOMPARE(r.state(), "expanded");
        QCOMPARE(r.timer(), std::nullopt); // entering cancelled the 45 s

        Rig s;
        s.show("alice", "m1");
        s.notch->hoverChanged(true);
        s.act(K::beginReply);
        QCOMPARE(s.panel.focusRequests, QList<bool> { true });
        s.act(K::expand); // a click into the text being typed
        QVERIFY(!s.notch->pinned());
        s.notch->hoverChanged(false);
        QCOMPARE(s.timer(), std::nullopt);
        s.clock->advance(1000);
        QCOMPARE(s.state(), "expanded");
        s.act(K::submitReply, "ok");
        s.act(K::expand);
        QCOMPARE(s.timer(), 1.4);
        s.act(K::fill);
        s.act(K::expand);
        QCOMPARE(s.timer(), 1.6);
    }

    void actionsScheduleFlashAndLog_data()
    {
        Table::load<QString, bool, double, QString, QString>({ "action", "listening", "timer", "flash", "logLine" });
    }
    void actionsScheduleFlashAndLog()
    {
        QFETCH(QString, action);
        QFETCH(bool, listening);
        QFETCH(double, timer);
        QFETCH(QString, flash);
        QFETCH(QString, logLine);
        const QMap<QString, K> kinds { { "expand", K::expand }, { "copyBody", K::copyBody },
            { "copyCode", K::copyCode }, { "cancelReply", K::cancelReply }, { "fill", K::fill },
            { "submitReply", K::submitReply } };
        QVERIFY(kinds.contains(action));
        const K kind = kinds[action];
        Rig r;
        r.terminalListening = listening;
        NotifyFrame f = frame("alice", "m1", "run this");
        f.hasCode = true;
        f.codeText = "git push -f\n ";
        r.notch->present(f, 1, Alert {});
        r.log.clear();
        r.act(kind, "ok");
        QCOMPARE(r.timer(), timer);
        QCOMPARE(r.model().feedbackText(), flash);
        QCOMPARE(r.log, logLine.isEmpty() ? QStringList {} : QStringList { logLine });
        const QString code = "git push -f\n ";
        QCOMPARE(r.fills, (kind == K::fill ? QList<FillFrame> { { code, "m1" } } : QList<FillFrame> {}));
        QCOMPARE(
            r.replies, (kind == K::submitReply ? QList<ReplyFrame> { { "alice", "ok", "m1" } } : QList<ReplyFrame> {}));
        if (kind == K::copyBody || kind == K::copyCode)
            QCOMPARE(r.pasteboard->copies, QStringList { kind == K::copyCode ? code : "run this" });
        else
            QVERIFY(r.pasteboard->copies.isEmpty());
    }

    void bannerReplyShowsEveryMessageOnce()
    {
        Rig r;
        r.show("alice", "m1");
        r.show("bob", "m2");
        r.show("carol", "m3");
        // "回复" on bob's banner: bob leaves the queue, alice (on show) goes back to its head.
        QVERIFY(r.notch->openReply(frame("bob", "m2"), 3));
        QCOMPARE(r.msgId(), "m2");
        QVERIFY(r.model().replyVisible());
        QCOMPARE(r.notch->queueLength(), 2);
        QCOMPARE(r.model().queued(), 2);

        r.act(K::submitReply, "ok");
        QStringList shown { r.msgId() };
        for (int step = 0; step < 20 && (r.state() != "hidden" || r.notch->queueLength() > 0); ++step) {
            r.clock->advance(r.timer().value_or(0.5));
            if (r.state() != "hidden" && r.msgId() != shown.last())
                shown << r.msgId();
        }
        QCOMPARE(shown, (QStringList { "m2", "m1", "m3" }));

        // Replying to the message already on show neither queues nor repeats it.
        Rig s;
        s.show("alice", "m1");
        QVERIFY(s.notch->openReply(frame("alice", "m1"), 1));
        QCOMPARE(s.notch->queueLength(), 0);
    }

    void chimeIsDebouncedAndOnlyWhenAsked()
    {
        Rig r;
        r.show("a");
        r.clock->advance(0.5);
        r.show("b"); // queued, still considered
        QCOMPARE(r.sound->plays, 1);
        r.clock->advance(0.31); // 0.81 s after the first chime
        r.show("c");
        QCOMPARE(r.sound->plays, 2);
        r.clock->advance(5);
        r.show("d", {}, false, false);
        QCOMPARE(r.sound->plays, 2);

        // With no screen at all the frame is dropped silently: no chime, no panel, no queue.
        Rig n;
        n.screens->list.clear();
        n.show("a", "m0");
        QCOMPARE(n.sound->plays, 0);
        QCOMPARE(n.notch->queueLength(), 0);
        QCOMPARE(n.panelsBuilt, 0);
        QVERIFY(n.log.isEmpty());
        QVERIFY(!n.model().item());
    }

    // Left: 1440 wide under a 28 px panel (primary); right: 1920 wide, no panel.
    void overlayGoesWhereTheUserLooks_data()
    {
        Table::load<int, int, int, int>({ "focused", "pointer", "centreX", "top" });
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
        r.show("a", "m1");
        QCOMPARE(midX(r.panel.frame), centreX);
        QCOMPARE(r.panel.frame.top(), top);
    }

    void screenChangesRefitTheShownOverlay()
    {
        Rig r;
        const NotchScreen left = r.screens->list.first();
        r.screens->list.append(right());
        r.screens->focused = 1;
        r.show("a", "m1");
        QCOMPARE(midX(r.panel.frame), 2400);

        // Its screen grows a top panel: it moves down with it, on the same screen.
        NotchScreen paneled = right();
        paneled.available.adjust(0, 30, 0, 0);
        r.screens->change({ left, paneled });
        QCOMPARE(midX(r.panel.frame), 2400);
        QCOMPARE(r.panel.frame.top(), 34);
        // Its screen is unplugged: it goes to the one left.
        r.screens->focused = -1;
        r.screens->change({ left });
        QCOMPARE(midX(r.panel.frame), 720);
        QCOMPARE(r.log.count("notch: screens changed — refitted on XVFB-1"), 1);

        // Hidden, it does not move; the next message picks the screen again.
        r.act(K::dismiss);
        r.clock->advance(1);
        const QRect before = r.panel.frame;
        r.screens->change({ left, right() });
        QCOMPARE(r.panel.frame, before);
    }

private:
    std::unique_ptr<TestEnv> m_env;
};

QTEST_GUILESS_MAIN(TestNotchController)
#include "tst_notchcontroller.moc"
