// The tray menu's logic against a fake tray: recents, the unread floor, the icon states,
// the attention pulse and the menu rows.
#include "alerts/MenuBarController.h"
#include "core/SettingsStore.h"
#include "fakes/FakeTray.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QSignalSpy>
#include <QTest>

namespace {

const MenuEntry *find(const QList<MenuEntry> &rows, const QString &text)
{
    for (const MenuEntry &r : rows)
        if (r.text == text)
            return &r;
    return nullptr;
}

} // namespace

class TestMenuBarController : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_env = std::make_unique<TestEnv>();
        m_tray = std::make_unique<FakeTray>();
        m_menu = std::make_unique<MenuBarController>(*m_tray);
    }
    void cleanup()
    {
        m_menu.reset();
        m_tray.reset();
        m_env.reset();
    }

    void keepsTwelveNewestFirst()
    {
        for (int i = 1; i <= 13; ++i)
            m_menu->addMessage(QStringLiteral("s%1").arg(i), QStringLiteral("t%1").arg(i), QStringLiteral("b"));
        QCOMPARE(m_menu->recents().size(), 12);
        QCOMPARE(m_menu->recents().first().sender, QStringLiteral("s13"));
        QCOMPARE(m_menu->recents().last().sender, QStringLiteral("s2"));
        QCOMPARE(m_menu->unread(), 13); // the count is not bounded by the list
        QCOMPARE(m_menu->lastSender(), QStringLiteral("s13"));
    }

    void markReadTakesTheNewestUnreadOfThatSenderAndNeverGoesNegative()
    {
        m_menu->addMessage("alice", "@alice", "1");
        m_menu->addMessage("bob", "@bob", "2");
        m_menu->addMessage("alice", "@alice", "3");
        m_menu->markRead("alice");
        QCOMPARE(m_menu->unread(), 2);
        QVERIFY(m_menu->recents()[0].read); // alice "3"
        QVERIFY(!m_menu->recents()[1].read); // bob
        QVERIFY(!m_menu->recents()[2].read); // alice "1"
        m_menu->markRead("alice");
        m_menu->markRead("bob");
        QCOMPARE(m_menu->unread(), 0);
        m_menu->markRead("nobody");
        QCOMPARE(m_menu->unread(), 0);
    }

    void iconShowsTheLastSenderWithBadgeAndPulsesUntilReadOrCleared()
    {
        QCOMPARE(m_tray->icon(), TrayIconState {});
        m_menu->addMessage("alice", "@alice", "x");
        m_menu->addMessage("bob", "@bob", "y");
        QCOMPARE(m_tray->icon(), (TrayIconState { "bob", 2, false }));
        QVERIFY(m_menu->isPulsing());

        // The pulse alternates dimmed and full icons and leaves the menu alone.
        QCOMPARE(m_tray->refreshes, 2);
        m_tray->icons.clear();
        QTRY_VERIFY_WITH_TIMEOUT(m_tray->icons.size() >= 2, 3000);
        QVERIFY(m_tray->icons[0].dimmed != m_tray->icons[1].dimmed);
        QCOMPARE(m_tray->refreshes, 2);
        m_tray->refreshes = 0;

        m_menu->markRead("bob");
        QVERIFY(m_menu->isPulsing());
        m_menu->markRead("alice");
        QVERIFY(!m_menu->isPulsing());
        QCOMPARE(m_tray->icon(), TrayIconState {});

        // Clearing restores the generic icon; unread mail after it pulses again.
        LogCapture log;
        m_menu->addMessage("carol", "@carol", "z");
        m_menu->clearAll();
        QCOMPARE(m_menu->unread(), 0);
        QVERIFY(!m_menu->lastSender());
        QVERIFY(!m_menu->isPulsing());
        QCOMPARE(m_tray->icon(), TrayIconState {});
        QCOMPARE(m_tray->refreshes, 4); // two reads, a message, the clear
        QVERIFY(log.contains("menubar: clear (unread reset)"));
        m_menu->addMessage("bob", "@bob", "y");
        QVERIFY(m_menu->isPulsing());
        QCOMPARE(m_tray->icon().badge, 1);
    }

    void recentRowsCarryBodyAndRelativeTime()
    {
        QDateTime now = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
        m_menu->setClock([&now] { return now; });
        m_menu->addMessage("alice", "Build", "line one\nline two");
        now = now.addSecs(5 * 60);
        m_menu->addMessage("bob", "@bob", "hi");
        m_menu->markRead("bob");
        // The host's reading of the rows, and a click on one, are checked in the tray's own test.
        const QList<MenuEntry> rows = m_tray->open();
        QCOMPARE(rows[1].subtitle, QStringLiteral("hi · 刚刚"));
        QVERIFY(!rows[1].emphasized);
        QCOMPARE(rows[2].subtitle, QStringLiteral("line one line two · 5 分钟前"));
        QVERIFY(rows[2].emphasized);
    }

    void quickSwitchesShowAndToggleTheSettings()
    {
        SettingsStore::setFlag(SettingsStore::Key::quietWhenFocused, true);
        SettingsStore::setFlag(SettingsStore::Key::urgencyMapping, false);
        const QList<MenuEntry> rows = m_tray->open();
        const MenuEntry *quick = find(rows, "快捷开关");
        QVERIFY(quick);
        QCOMPARE(quick->kind, MenuEntry::Kind::Submenu);
        QCOMPARE(quick->children.size(), 7);
        QList<bool> checks;
        for (const MenuEntry &e : quick->children)
            checks << (e.checkable ? e.checked : false);
        // Unset keys read as their defaults: identity banners on, the two advanced ones off.
        QCOMPARE(checks, (QList<bool> { false, true, true, false, false, false, false }));
        QVERIFY(!quick->children[0].enabled);
        QVERIFY(!quick->children[4].enabled);

        find(quick->children, "好友身份通知 + 头像")->trigger();
        QVERIFY(!SettingsStore::flag(SettingsStore::Key::commNotifications));
        find(quick->children, "敏感操作需 Touch ID")->trigger();
        QVERIFY(SettingsStore::flag(SettingsStore::Key::biometricGate));
        const QList<MenuEntry> again = m_tray->open();
        const MenuEntry *reopened = find(again, "快捷开关");
        QVERIFY(!reopened->children[2].checked);
        QVERIFY(reopened->children[6].checked);
    }

private:
    std::unique_ptr<TestEnv> m_env;
    std::unique_ptr<FakeTray> m_tray;
    std::unique_ptr<MenuBarController> m_menu;
};

QTEST_MAIN(TestMenuBarController)
#include "tst_menubarcontroller.moc"
