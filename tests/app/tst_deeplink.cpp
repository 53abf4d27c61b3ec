#include "app/DeepLink.h"

#include <QTest>

class TestDeepLink : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readsTheFormsOfTheScheme_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<DeepLink::Kind>("kind");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("log");
        const auto row = [](const char *url, DeepLink::Kind kind, const char *target, const char *log) {
            QTest::newRow(url) << QString(url) << kind << QString(target) << QString(log);
        };
        using K = DeepLink::Kind;
        const char *ignored = "url-scheme: ignoring non-quillmote URL";
        row("quillmote://conversation/alice", K::conversation, "alice",
            "url-scheme: deep-link → opened + selected @alice");
        row("quillmote://CONVERSATION//bob/extra", K::conversation, "bob",
            "url-scheme: deep-link → opened + selected @bob");
        row("quillmote://open?sender=s&conversation=c", K::conversation, "c",
            "url-scheme: deep-link → opened + selected @c");
        row("quillmote://open?conversation=&sender=y", K::legacyWakeup, "y",
            "url-scheme: open?sender=@y — legacy wakeup, no-op on receive");
        row("quillmote://conversation/", K::noTarget, "",
            "url-scheme: no conversation target in quillmote://conversation/");
        row("https://conversation/alice", K::notQuillmote, "", ignored);
        row("QUILLMOTE://conversation/alice", K::notQuillmote, "", ignored);
    }

    void readsTheFormsOfTheScheme()
    {
        QFETCH(QString, url);
        QFETCH(DeepLink::Kind, kind);
        QFETCH(QString, target);
        QFETCH(QString, log);
        const QUrl u(url);
        const DeepLink link = DeepLink::parse(url);
        QCOMPARE(link.kind, kind);
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
