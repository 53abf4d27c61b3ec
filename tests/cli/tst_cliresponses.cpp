#include "cli/CLIResponses.h"

#include <QTest>

// Decodes `json` as T; the test only cares whether it decoded and the record itself.
template <typename T>
static std::optional<T> decode(const char *json)
{
    return T::decode(QJsonDocument::fromJson(QByteArray(json)));
}

class TestCLIResponses : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void requiredAndOptionalFields_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");

        QTest::newRow("friends empty") << "friends" << QByteArray(R"({"friends": []})") << true;
        QTest::newRow("friends with a number") << "friends" << QByteArray(R"({"friends": ["a", 3]})") << false;
        QTest::newRow("requests, extra keys ignored")
            << "requests" << QByteArray(R"({"requests": ["x"], "n": 1})") << true;
        QTest::newRow("claim ok alone") << "claim" << QByteArray(R"({"ok": true})") << true;
        QTest::newRow("claim ok as text") << "claim" << QByteArray(R"({"ok": "true"})") << false;
        QTest::newRow("share complete") << "share" << QByteArray(R"({"id": "s", "code": "c", "url": "u"})") << true;
        QTest::newRow("share without url") << "share" << QByteArray(R"({"id": "s", "code": "c"})") << false;
        QTest::newRow("whois handle only") << "whois" << QByteArray(R"({"handle": "h"})") << true;
        QTest::newRow("doctor ignores details") << "doctor" << QByteArray(R"({"ok": false, "checks": [1, 2]})") << true;
        QTest::newRow("contacts entry without handle") << "contacts" << QByteArray(R"({"contacts": [{"online": true}]})") << false;
        QTest::newRow("contacts online as text") << "contacts" << QByteArray(R"({"contacts": [{"handle": "a", "online": "yes"}]})") << false;
        QTest::newRow("inbox not an array") << "inbox" << QByteArray(R"({"items": []})") << false;
        QTest::newRow("inbox content not an object") << "inbox" << QByteArray(R"([{"sender": {"handle": "a"}, "message": {"content": "hi"}}])") << false;
    }

    void requiredAndOptionalFields()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        const QJsonDocument doc = QJsonDocument::fromJson(json);
        QVERIFY(!doc.isNull());
        bool ok = false;
        if (type == u"friends")
            ok = FriendsResponse::decode(doc).has_value();
        else if (type == u"requests")
            ok = RequestsResponse::decode(doc).has_value();
        else if (type == u"claim")
            ok = ClaimResponse::decode(doc).has_value();
        else if (type == u"share")
            ok = ShareResponse::decode(doc).has_value();
        else if (type == u"whois")
            ok = WhoisResponse::decode(doc).has_value();
        else if (type == u"doctor")
            ok = DoctorReport::decode(doc).has_value();
        else if (type == u"contacts")
            ok = ContactsResponse::decode(doc).has_value();
        else if (type == u"inbox")
            ok = InboxResponse::decode(doc).has_value();
        else
            QFAIL("unknown type");
        QCOMPARE(ok, decodes);
    }

    void listsKeepEntriesAndTheirOptionalFlags()
    {
        const auto contacts = decode<ContactsResponse>(R"({"contacts": [{"handle": "a", "online": true}, {"handle": "b"}, {"handle": "c", "online": null}]})");
        QVERIFY(contacts);
        QCOMPARE(contacts->contacts.size(), 3);
        QCOMPARE(contacts->contacts[0].online, std::optional<bool>(true));
        QVERIFY(!contacts->contacts[1].online.has_value());
        QVERIFY(!contacts->contacts[2].online.has_value());

        const auto connect = decode<ConnectResponse>(R"({"ok": true, "state": "pending"})");
        QVERIFY(connect && connect->state == QStringLiteral("pending"));

        const auto shares = decode<SharesResponse>(R"({"shares": [{"id": "s1", "revoked": true}, {"id": "s2"}]})");
        QVERIFY(shares);
        QCOMPARE(shares->shares[0].revoked, std::optional<bool>(true));
        QVERIFY(!shares->shares[1].revoked);
    }

    void inboxTakesFreeFormContent()
    {
        const auto inbox = decode<InboxResponse>(R"([
            {"sender": {"handle": "alice"}, "message": {"id": "m1", "content": {"text": "hi", "n": 1.5, "deep": {"x": [1, null]}}}},
            {"sender": {"handle": "bob"}, "message": {"content": null}},
            {"sender": {"handle": "carol"}, "message": {}}
        ])");
        QVERIFY(inbox);
        QCOMPARE(inbox->items.size(), 3);
        QCOMPARE(inbox->items[0].sender.handle, QStringLiteral("alice"));
        QCOMPARE(*inbox->items[0].message.id, QStringLiteral("m1"));
        QCOMPARE(inbox->items[0].message.content->value(QStringLiteral("text")).toString(), QStringLiteral("hi"));
        QVERIFY(inbox->items[0].message.content->value(QStringLiteral("deep")).isObject());
        QVERIFY(!inbox->items[1].message.content && !inbox->items[1].message.id);
        QVERIFY(!inbox->items[2].message.content);
        QVERIFY(decode<InboxResponse>("[]")->items.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCLIResponses)
#include "tst_cliresponses.moc"
