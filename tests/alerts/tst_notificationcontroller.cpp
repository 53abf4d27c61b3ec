// The banner logic against a fake server: what a banner carries, which banner a message
// replaces, and where actions and replies go.
#include "alerts/MonogramAvatar.h"
#include "alerts/NotificationController.h"
#include "fakes/FakeNotifications.h"
#include "support/Table.h"
#include "support/TestEnv.h"

#include <QTest>

namespace {

NotifyFrame frame(const QString &sender, const QString &body, std::optional<QString> msgId = std::nullopt)
{
    NotifyFrame f;
    f.type = QStringLiteral("notify");
    f.sender = sender;
    f.body = body;
    f.msgId = std::move(msgId);
    return f;
}

} // namespace

class TestNotificationController : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnv>();
        m_server = std::make_unique<FakeNotifications>();
        m_ctl = std::make_unique<NotificationController>(*m_server);
        m_lines.clear();
        connect(m_ctl.get(), &NotificationController::logged, this, [this](const QString &line) { m_lines << line; });
    }
    void cleanup()
    {
        m_ctl.reset();
        m_server.reset();
        m_env.reset();
    }

    void aServerStartedByTheFirstQuestionIsAskedOnce()
    {
        // Bus activation: the server appears while our first probe waits for it.
        m_server->autoAnswer = false;
        m_ctl->bootstrap();
        // Messages that arrive before the server answered are held, not lost.
        m_ctl->present(frame("alice", "early"), Banner::Urgency::normal);
        Q_EMIT m_server->serverChanged(true);
        QCOMPARE(m_server->posts.size(), 0);
        m_server->answerProbe();
        QVERIFY(m_ctl->isEnabled());
        QCOMPARE(m_lines.count("notifications: authorization granted"), 1);
        QCOMPARE(m_server->posts.size(), 1);
        QCOMPARE(m_server->last().body, QStringLiteral("early"));
        // If the server asked first went away instead, the one that appeared is asked.
        Q_EMIT m_server->serverChanged(false);
        m_ctl->bootstrap();
        Q_EMIT m_server->serverChanged(true);
        m_server->server.available = false;
        m_server->answerProbe();
        QVERIFY(m_server->pendingProbe);
        m_server->server.available = true;
        m_server->answerProbe();
        QVERIFY(m_ctl->isEnabled());
    }

    void initialsTakeWholeCharacters_data() { Table::load<QString, QString>({ "handle", "initials" }); }
    void initialsTakeWholeCharacters()
    {
        QFETCH(QString, handle);
        QFETCH(QString, initials);
        QCOMPARE(MonogramAvatar::initials(handle), initials);
    }

    void markupServersGetEscapedTextAndNoticesNothingElse()
    {
        m_ctl->present(frame("alice", "before the server"), Banner::Urgency::normal);
        m_ctl->presentNotice("发送消息", "x", false); // banners not yet on: only logged
        QCOMPARE(m_server->posts.size(), 0);
        m_server->server.capabilities << "body-markup";
        m_ctl->bootstrap();
        m_server->posts.clear();
        const int tracked = m_ctl->trackedBanners();
        m_ctl->presentNotice("发送消息", "失败: <no tool>", true);
        QCOMPARE(m_server->last().summary, QStringLiteral("发送消息"));
        QCOMPARE(m_server->last().body, QStringLiteral("失败: &lt;no tool&gt;"));
        QVERIFY(m_server->last().actions.isEmpty());
        QVERIFY(m_server->last().image.isNull());
        QCOMPARE(m_ctl->trackedBanners(), tracked); // its actions lead nowhere
        NotifyFrame f = frame("alice", "<b>x</b> & y");
        f.title = "  "; // a blank title is no title
        m_ctl->present(f, Banner::Urgency::normal);
        QCOMPARE(m_server->last().summary, QStringLiteral("@alice"));
        QCOMPARE(m_server->last().body, QStringLiteral("&lt;b&gt;x&lt;/b&gt; &amp; y"));
    }

    // A repeat while the first post is under way waits for its id, and only the newest goes.
    void sameMsgIdReplacesTheEarlierBanner()
    {
        m_ctl->bootstrap();
        m_ctl->present(frame("alice", "v1", "m1"), Banner::Urgency::normal);
        m_ctl->present(frame("alice", "v2", "m1"), Banner::Urgency::normal);
        m_ctl->present(frame("alice", "other", "m2"), Banner::Urgency::normal);
        m_ctl->present(frame("alice", "no id 1"), Banner::Urgency::normal);
        m_ctl->present(frame("alice", "no id 2"), Banner::Urgency::normal);
        m_ctl->present(frame("alice", "empty id", ""), Banner::Urgency::normal);
        QList<quint32> replaces;
        for (const auto &p : m_server->posts)
            replaces << p.banner.replacesId;
        QCOMPARE(replaces, (QList<quint32> { 0, 1, 0, 0, 0, 0 }));
        QCOMPARE(m_ctl->trackedBanners(), 5);

        m_server->autoAnswer = false;
        m_ctl->present(frame("alice", "v1", "m3"), Banner::Urgency::normal);
        m_ctl->present(frame("alice", "v2", "m3"), Banner::Urgency::normal);
        m_ctl->present(frame("alice", "v3", "m3"), Banner::Urgency::normal);
        QCOMPARE(m_server->posts.size(), 7);
        const quint32 id = m_server->answer(6);
        QCOMPARE(m_server->posts.size(), 8);
        QCOMPARE(m_server->posts[7].banner.body, QStringLiteral("v3")); // only the newest
        QCOMPARE(m_server->posts[7].banner.replacesId, id);
    }

    void closedForgottenOrFailedBannersAreNotReplaced()
    {
        m_ctl->bootstrap();
        m_ctl->present(frame("alice", "v1", "m1"), Banner::Urgency::normal);
        Q_EMIT m_server->bannerClosed(1);
        QCOMPARE(m_ctl->trackedBanners(), 0);
        m_ctl->present(frame("alice", "v2", "m1"), Banner::Urgency::normal);
        QCOMPARE(m_server->last().replacesId, 0u);
        // A restarted server hands out its ids afresh.
        Q_EMIT m_server->serverChanged(true);
        m_ctl->present(frame("alice", "v3", "m1"), Banner::Urgency::normal);
        QCOMPARE(m_server->last().replacesId, 0u);

        m_server->autoAnswer = false;
        m_ctl->present(frame("alice", "x", "m2"), Banner::Urgency::normal);
        m_server->answer(m_server->posts.size() - 1, "org.freedesktop.DBus.Error.NoReply");
        QVERIFY(m_lines.contains("notifications: add failed: org.freedesktop.DBus.Error.NoReply"));
        m_server->autoAnswer = true;
        m_ctl->present(frame("alice", "y", "m2"), Banner::Urgency::normal);
        QCOMPARE(m_server->last().replacesId, 0u);
    }

    // expected: "open:x", "reply:…", or nothing.
    void dispatch_data()
    {
        Table::load<QString, QString, QString, QString, QString, QString>(
            { "action", "sender", "msgId", "text", "expected", "logLine" });
    }
    void dispatch()
    {
        QFETCH(QString, action);
        QFETCH(QString, sender);
        QFETCH(QString, msgId);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(QString, logLine);
        QStringList seen;
        connect(
            m_ctl.get(), &NotificationController::openRequested, this, [&](const QString &s) { seen << "open:" + s; });
        m_ctl->onReply = [&](const ReplyFrame &f) {
            seen << QStringLiteral("reply:%1|%2|%3").arg(f.sender, f.text, f.msgId.value_or("-"));
            return true;
        };
        m_ctl->dispatch(action, sender, msgId, text);
        QCOMPARE(seen, expected.isEmpty() ? QStringList {} : QStringList { expected });
        if (!logLine.isEmpty())
            QVERIFY2(m_lines.contains(logLine), qPrintable(m_lines.join('\n')));
    }

private:
    std::unique_ptr<TestEnv> m_env;
    std::unique_ptr<FakeNotifications> m_server;
    std::unique_ptr<NotificationController> m_ctl;
    QStringList m_lines;
};

QTEST_MAIN(TestNotificationController)
#include "tst_notificationcontroller.moc"
