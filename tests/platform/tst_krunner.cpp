// Which KRunner queries offer which app shortcut.
#include "platform/KRunnerBridge.h"

#include <QTest>

class TestKRunner : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void phrasesOfferTheirShortcut_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("firstId"); // empty: no match
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        QTest::newRow("start of a Chinese phrase") << "用 Quillmote 发"
                                                   << "SendMessageIntent\n"
                                                   << 30 << "发送消息";
        QTest::newRow("whole phrase with words")
            << "用 quillmote 发消息 alice 晚上 见"
            << "SendMessageIntent\nalice 晚上 见" << 100 << "发送消息：alice 晚上 见";
        QTest::newRow("English, any case") << "MY QUILLMOTE FRIENDS"
                                           << "FriendsIntent\n"
                                           << 100 << "我的好友";
        QTest::newRow("phrase run into a word") << "reply with quillmotex"
                                                << "" << 0 << "";
        QTest::newRow("too short") << "用 "
                                   << "" << 0 << "";
        QTest::newRow("unrelated") << "firefox"
                                   << "" << 0 << "";
    }

    void phrasesOfferTheirShortcut()
    {
        QFETCH(QString, query);
        QFETCH(QString, firstId);
        QFETCH(int, type);
        QFETCH(QString, text);
        const QList<KRunnerMatch> found = KRunnerBridge::matches(query);
        if (firstId.isEmpty()) {
            QVERIFY(found.isEmpty());
            return;
        }
        QVERIFY(!found.isEmpty());
        QCOMPARE(found.first().id, firstId);
        QCOMPARE(found.first().type, type);
        QCOMPARE(found.first().text, text);
    }
};

QTEST_GUILESS_MAIN(TestKRunner)
#include "tst_krunner.moc"
