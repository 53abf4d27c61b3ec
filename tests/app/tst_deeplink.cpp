#include "app/DeepLink.h"

#include <QTest>

class TestDeepLink : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readsTheFormsOfTheScheme_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("log");
        using K = DeepLink::Kind;
        QTest::newRow("conversation") << "quillmote://conversation/alice" << int(K::conversation) << "alice"
                                      << "url-scheme: deep-link → opened + selected @alice";
        QTest::newRow("host in capitals, doubled slash")
            << "quillmote://CONVERSATION//bob/extra" << int(K::conversation) << "bob"
            << "url-scheme: deep-link → opened + selected @bob";
        QTest::newRow("conversation wins over sender")
            << "quillmote://open?sender=s&conversation=c" << int(K::conversation) << "c"
            << "url-scheme: deep-link → opened + selected @c";
        QTest::newRow("empty conversation falls to sender")
            << "quillmote://open?conversation=&sender=y" << int(K::legacyWakeup) << "y"
            << "url-scheme: open?sender=@y — legacy wakeup, no-op on receive";
        QTest::newRow("other scheme") << "https://conversation/alice" << int(K::notQuillmote) << ""
                                      << "url-scheme: ignoring non-quillmote URL";
        QTest::newRow("scheme in capitals") << "QUILLMOTE://conversation/alice" << int(K::notQuillmote) << ""
                                            << "url-scheme: ignoring non-quillmote URL";
    }

    void readsTheFormsOfTheScheme()
    {
        QFETCH(QString, url);
        QFETCH(int, kind);
        QFETCH(QString, target);
        QFETCH(QString, log);
        const QUrl u(url);
        const DeepLink link = DeepLink::parse(url);
        QCOMPARE(int(link.kind), kind);
        QCOMPARE(link.target, target);
        QCOMPARE(link.logLine(u), log);
    }

    void wakeUpUrlRoundTrips()
    {
        const QUrl url = DeepLink::openSenderUrl(QStringLiteral("a&b=c 中"));
        QVERIFY(url.toString(QUrl::FullyEncoded).startsWith(QLatin1String("quillmote://open?sender=a%26b%3Dc%20")));
        const DeepLink link = DeepLink::parse(url);
        QCOMPARE(int(link.kind), int(DeepLink::Kind::legacyWakeup));
        QCOMPARE(link.target, QStringLiteral("a&b=c 中"));
    }
};

QTEST_GUILESS_MAIN(TestDeepLink)
#include "tst_deeplink.moc"
