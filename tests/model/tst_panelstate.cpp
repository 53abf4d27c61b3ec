#include "model/MessageTime.h"
#include "model/PanelState.h"

#include <QTest>

namespace {

const char *kMessage
    = R"({"id":"m1","peer":"bob","direction":"in","type":"text","createdAt":"2024-05-01T10:00:00Z","content":{"text":"hi"}})";

QByteArray documentWithMessages(const QByteArray &messages)
{
    return R"({"self":{"handle":"me","fingerprint":"ab"},"contacts":[{"handle":"bob","fingerprint":"f"}],)"
           R"("pending":[{"handle":"eve","fingerprint":"e"}],"messages":)"
        + messages + "}";
}

} // namespace

class TestPanelState : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodesAFullDocument()
    {
        const auto state = PanelState::decode(R"({
          "self": {"handle": "me", "fingerprint": "ABCD 1234", "extra": 1},
          "handle": "me",
          "contacts": [{"handle": "bob", "fingerprint": "f1", "status": "connected"}, {"handle": "amy", "fingerprint": "f2"}],
          "pending": [{"handle": "eve", "fingerprint": "f3"}],
          "messages": [{"id": "m1", "peer": "bob", "direction": "in", "type": "text", "status": null,
                        "createdAt": "2024-05-01T10:00:00.123Z", "content": {"text": "你好"}},
                       {"id": "m2", "peer": "bob", "direction": "out", "type": "text", "status": "read",
                        "createdAt": "2024-05-01T10:01:00Z", "content": null}],
          "future": {"anything": [1, 2]}
        })");
        QVERIFY(state);
        QCOMPARE(state->selfInfo->fingerprint, QStringLiteral("ABCD 1234"));
        QCOMPARE(state->handle, std::optional<QString>(QStringLiteral("me")));
        QCOMPARE(state->contacts.size(), 2);
        QCOMPARE(state->contacts[0].status, std::optional<QString>(QStringLiteral("connected")));
        QVERIFY(!state->contacts[1].status);
        QCOMPARE(state->pending.size(), 1);
        QCOMPARE(state->messages.size(), 2);
        QVERIFY(!state->messages[0].status);
        QCOMPARE(state->messages[1].status, std::optional<QString>(QStringLiteral("read")));
        QCOMPARE(*state->messages[0].content.stringAt(u"text"), QStringLiteral("你好"));
        QVERIFY(state->messages[1].content.isNull());

        // Equality is what the state client uses to publish only changes.
        auto changed = *state;
        QVERIFY(changed == *state);
        changed.messages[1].status = QStringLiteral("delivered");
        QVERIFY(!(changed == *state));
    }

    void aNewStateSharesWhatDidNotChange()
    {
        const auto before = PanelState::decode(documentWithMessages(QByteArray("[") + kMessage
            + R"(,{"id":"m2","peer":"bob","direction":"out","type":"text","createdAt":"2024-05-01T10:01:00Z","content":{"text":"old"}}])"));
        // m1 moved behind a new message, m2 was edited, m3 is new.
        auto after = PanelState::decode(documentWithMessages(
            R"([{"id":"m3","peer":"bob","direction":"in","type":"text","createdAt":"2024-05-01T10:02:00Z","content":{"text":"new"}},)"
            + QByteArray(kMessage)
            + R"(,{"id":"m2","peer":"bob","direction":"out","type":"text","createdAt":"2024-05-01T10:01:00Z","content":{"text":"edited"}}])"));
        QVERIFY(before && after);
        const PanelState decoded = *after;
        after->shareUnchanged(*before);
        QCOMPARE(*after, decoded); // the values stay the same
        const auto sharesContent = [](const Message &a, const Message &b) {
            return a.content.members().data() == b.content.members().data();
        };
        QVERIFY(sharesContent(after->messages[1], before->messages[0]));
        QVERIFY(!sharesContent(after->messages[2], before->messages[1]));
        QCOMPARE(after->contacts[0].handle.constData(), before->contacts[0].handle.constData());
    }

    void scalarMembersAreStrict_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");
        QTest::newRow("self null") << QByteArray(R"({"self":null})") << true;
        QTest::newRow("self number") << QByteArray(R"({"self":3})") << false;
        QTest::newRow("self without fingerprint") << QByteArray(R"({"self":{"handle":"me"}})") << false;
        QTest::newRow("handle number") << QByteArray(R"({"handle":7})") << false;
        QTest::newRow("top-level array") << QByteArray(R"([{}])") << false;
        QTest::newRow("not JSON") << QByteArray("<html>") << false;
    }

    void scalarMembersAreStrict()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        QString error;
        const auto state = PanelState::decode(json, &error);
        QCOMPARE(state.has_value(), decodes);
        QCOMPARE(error.isEmpty(), decodes);
    }

    void arraysAreAllOrNothing_data()
    {
        QTest::addColumn<QByteArray>("messages");
        QTest::addColumn<int>("count");
        const QByteArray good(kMessage);
        QTest::newRow("good") << "[" + good + "]" << 1;
        QTest::newRow("missing content") << "[" + good
                + R"(,{"id":"m2","peer":"b","direction":"in","type":"t","createdAt":"x"}])"
                                         << 0;
        QTest::newRow("number id") << "[" + good
                + R"(,{"id":2,"peer":"b","direction":"in","type":"t","createdAt":"x","content":1}])"
                                   << 0;
        QTest::newRow("element not object") << "[" + good + ",5]" << 0;
        QTest::newRow("not an array") << QByteArray(R"({"m1":1})") << 0;
        QTest::newRow("null") << QByteArray("null") << 0;
    }

    void arraysAreAllOrNothing()
    {
        QFETCH(QByteArray, messages);
        QFETCH(int, count);
        const auto state = PanelState::decode(documentWithMessages(messages));
        QVERIFY(state);
        QCOMPARE(state->messages.size(), count);
        // The other arrays and members survive a bad message list.
        QCOMPARE(state->contacts.size(), 1);
        QCOMPARE(state->pending.size(), 1);
        QVERIFY(state->selfInfo);

        const auto badContact = PanelState::decode(R"({"contacts":[{"handle":"a","fingerprint":"f"},{"handle":"b"}]})");
        QVERIFY(badContact && badContact->contacts.isEmpty());
    }

    void contentOfAnyShape_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<JSONValue>("expected");
        QTest::newRow("text object") << QByteArray(R"({"text":"hi"})")
                                     << JSONValue::object(
                                            { { QStringLiteral("text"), JSONValue::string(QStringLiteral("hi")) } });
        QTest::newRow("null") << QByteArray("null") << JSONValue::null();
        QTest::newRow("nested array") << QByteArray(R"([1,"a",[false],{}])")
                                      << JSONValue::array({ JSONValue::number(1),
                                             JSONValue::string(QStringLiteral("a")),
                                             JSONValue::array({ JSONValue::boolean(false) }), JSONValue::object({}) });
        QTest::newRow("duplicate keys keep the last")
            << QByteArray(R"({"a":1,"a":2})") << JSONValue::object({ { QStringLiteral("a"), JSONValue::number(2) } });
        // Numbers past 64-bit integers become the nearest double, past a double's range null;
        // a text that looks like one stays text.
        QTest::newRow("numbers of any size")
            << QByteArray(R"([123456789012345678901234567890,-18446744073709551617,1e400,-1E+999,1e-400,"1e400"])")
            << JSONValue::array({ JSONValue::number(123456789012345678901234567890.0),
                   JSONValue::number(-18446744073709551617.0), JSONValue::null(), JSONValue::null(),
                   JSONValue::number(0), JSONValue::string(QStringLiteral("1e400")) });
    }

    void contentOfAnyShape()
    {
        QFETCH(QByteArray, content);
        QFETCH(JSONValue, expected);
        const QByteArray doc
            = R"({"messages":[{"id":"m","peer":"b","direction":"in","type":"t","createdAt":"x","content":)" + content
            + "}]}";
        const auto state = PanelState::decode(doc);
        QVERIFY(state);
        QCOMPARE(state->messages.size(), 1);
        QVERIFY(state->messages[0].content == expected);
    }

    void numbersOutOfRangeNeverMakeBadJsonGood_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("leading zero") << QByteArray(R"({"messages":[],"x":0123456789012345678901})");
        QTest::newRow("dangling exponent") << QByteArray(R"({"messages":[],"x":1e400e})");
        QTest::newRow("bare minus") << QByteArray(R"({"messages":[],"x":-,"y":1e400})");
    }

    void numbersOutOfRangeNeverMakeBadJsonGood()
    {
        QFETCH(QByteArray, json);
        QVERIFY(!PanelState::decode(json));
    }

    void messageTime_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("millis");
        const double base = 1714557600000.0; // 2024-05-01T10:00:00Z
        QTest::newRow("without fraction") << QStringLiteral("2024-05-01T10:00:00Z") << base;
        QTest::newRow("milliseconds") << QStringLiteral("2024-05-01T10:00:00.123Z") << base + 123;
        QTest::newRow("microseconds truncate") << QStringLiteral("2024-05-01T10:00:00.123999Z") << base + 123;
        QTest::newRow("offset") << QStringLiteral("2024-05-01T18:00:00+08:00") << base;
        QTest::newRow("before epoch") << QStringLiteral("1969-12-31T23:59:59Z") << -1000.0;
        QTest::newRow("no zone") << QStringLiteral("2024-05-01T10:00:00") << 0.0;
        QTest::newRow("no leap day") << QStringLiteral("2023-02-29T00:00:00Z") << 0.0;
        QTest::newRow("hour 24") << QStringLiteral("2024-05-01T24:00:00Z") << 0.0;
        QTest::newRow("garbage") << QStringLiteral("yesterday") << 0.0;
    }

    void messageTime()
    {
        QFETCH(QString, text);
        QFETCH(double, millis);
        QCOMPARE(MessageTime::millis(text), millis);
    }
};

QTEST_GUILESS_MAIN(TestPanelState)
#include "tst_panelstate.moc"
