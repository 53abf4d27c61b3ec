#include "cli/CLIResponses.h"

#include <QTest>

// Whether a document decodes as T.
using Decodes = bool (*)(const QJsonDocument &);
Q_DECLARE_METATYPE(Decodes)

template<typename T> static bool decodes(const QJsonDocument &doc)
{
    return T::decode(doc).has_value();
}

class TestCLIResponses : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void requiredAndOptionalFields_data()
    {
        QTest::addColumn<Decodes>("decoder");
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");

        QTest::newRow("friends empty") << &decodes<FriendsResponse> << QByteArray(R"({"friends": []})") << true;
        QTest::newRow("friends with a number")
            << &decodes<FriendsResponse> << QByteArray(R"({"friends": ["a", 3]})") << false;
        QTest::newRow("requests, extra keys ignored")
            << &decodes<RequestsResponse> << QByteArray(R"({"requests": ["x"], "n": 1})") << true;
        QTest::newRow("claim ok alone") << &decodes<ClaimResponse> << QByteArray(R"({"ok": true})") << true;
        QTest::newRow("claim ok as text") << &decodes<ClaimResponse> << QByteArray(R"({"ok": "true"})") << false;
        QTest::newRow("share complete")
            << &decodes<ShareResponse> << QByteArray(R"({"id": "s", "code": "c", "url": "u"})") << true;
        QTest::newRow("share without url")
            << &decodes<ShareResponse> << QByteArray(R"({"id": "s", "code": "c"})") << false;
        QTest::newRow("whois handle only") << &decodes<WhoisResponse> << QByteArray(R"({"handle": "h"})") << true;
        QTest::newRow("doctor ignores details")
            << &decodes<DoctorReport> << QByteArray(R"({"ok": false, "checks": [1, 2]})") << true;
        QTest::newRow("contacts entry without handle")
            << &decodes<ContactsResponse> << QByteArray(R"({"contacts": [{"online": true}]})") << false;
        QTest::newRow("contacts online as text")
            << &decodes<ContactsResponse> << QByteArray(R"({"contacts": [{"handle": "a", "online": "yes"}]})") << false;
        QTest::newRow("inbox not an array") << &decodes<InboxResponse> << QByteArray(R"({"items": []})") << false;
        QTest::newRow("inbox content not an object")
            << &decodes<InboxResponse> << QByteArray(R"([{"sender": {"handle": "a"}, "message": {"content": "hi"}}])")
            << false;
    }

    void requiredAndOptionalFields()
    {
        QFETCH(Decodes, decoder);
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        const QJsonDocument doc = QJsonDocument::fromJson(json);
        QVERIFY(!doc.isNull());
        QCOMPARE(decoder(doc), decodes);
    }
};

QTEST_GUILESS_MAIN(TestCLIResponses)
#include "tst_cliresponses.moc"
