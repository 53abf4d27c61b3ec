#include "model/ContentNormalizer.h"
#include "model/Format.h"
#include "model/MessageTime.h"
#include "model/PanelState.h"
#include "support/Table.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimeZone>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

JSONValue json(const QByteArray &text)
{
    const auto v = JSONValue::fromJson(text);
    if (!v)
        qFatal("bad test JSON: %s", text.constData());
    return *v;
}

QStringList keys(const JSONValue &object)
{
    QStringList out;
    for (const auto &member : object.members())
        out.append(member.first);
    return out;
}

const QByteArray kMessage
    = R"({"id":"m1","peer":"bob","direction":"in","type":"text","createdAt":"2024-05-01T10:00:00Z","content":{"text":"hi"}})";

QByteArray documentWithMessages(const QByteArray &messages)
{
    return R"({"self":{"handle":"me","fingerprint":"ab"},"contacts":[{"handle":"bob","fingerprint":"f"}],)"
           R"("pending":[{"handle":"eve","fingerprint":"e"}],"messages":)"
        + messages + "}";
}

} // namespace

class TestModel : public QObject
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
        QCOMPARE(state->selfInfo->fingerprint, u"ABCD 1234"_s);
        QCOMPARE(state->handle, u"me"_s);
        QCOMPARE(state->contacts.size(), 2);
        QCOMPARE(state->contacts[0].status, u"connected"_s);
        QVERIFY(!state->contacts[1].status);
        QCOMPARE(state->pending.size(), 1);
        QCOMPARE(state->messages.size(), 2);
        QVERIFY(!state->messages[0].status);
        QCOMPARE(state->messages[1].status, u"read"_s);
        QCOMPARE(*state->messages[0].content.stringAt(u"text"), u"你好"_s);
        QVERIFY(state->messages[1].content.isNull());

        // Equality is what the state client uses to publish only changes.
        auto changed = *state;
        QVERIFY(changed == *state);
        changed.messages[1].status = u"delivered"_s;
        QVERIFY(!(changed == *state));
    }

    void aNewStateSharesWhatDidNotChange()
    {
        const QByteArray m2
            = R"({"id":"m2","peer":"bob","direction":"out","type":"text","createdAt":"2024-05-01T10:01:00Z","content":{"text":"old"}})";
        const auto before = PanelState::decode(documentWithMessages("[" + kMessage + "," + m2 + "]"));
        // m1 moved behind a new message, m2 was edited, m3 is new.
        auto after = PanelState::decode(documentWithMessages(
            R"([{"id":"m3","peer":"bob","direction":"in","type":"text","createdAt":"2024-05-01T10:02:00Z","content":{"text":"new"}},)"
            + kMessage + "," + QByteArray(m2).replace("old", "edited") + "]"));
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

    // A wrong scalar refuses the whole document; an array with one bad element is dropped
    // whole and the rest of the document stays.
    void decodingIsStrict_data() { Table::load<QByteArray, QString>({ "json", "decoded" }); }

    void decodingIsStrict()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, decoded);
        QString error;
        const auto s = PanelState::decode(json, &error);
        QCOMPARE(error.isEmpty(), s.has_value());
        QCOMPARE(s ? u"%1 %2/%3/%4"_s.arg(s->selfInfo ? s->selfInfo->handle : u"-"_s)
                         .arg(s->contacts.size())
                         .arg(s->pending.size())
                         .arg(s->messages.size())
                   : QString(),
            decoded);
    }

    // Numbers past 64-bit integers become the nearest double, past a double's range null; a
    // text that looks like one stays text.
    void contentNumbersOfAnySize()
    {
        const auto state = PanelState::decode(
            R"({"messages":[{"id":"m","peer":"b","direction":"in","type":"t","createdAt":"x","content":)"
            R"([123456789012345678901234567890,-18446744073709551617,1e400,-1E+999,1e-400,"1e400"]}]})");
        QVERIFY(state);
        QCOMPARE(state->messages.size(), 1);
        QVERIFY(state->messages[0].content
            == JSONValue::array(
                { JSONValue::number(123456789012345678901234567890.0), JSONValue::number(-18446744073709551617.0),
                    JSONValue::null(), JSONValue::null(), JSONValue::number(0), JSONValue::string(u"1e400"_s) }));
    }

    void messageTime_data() { Table::load<QString, double>({ "text", "millis" }); }

    void messageTime()
    {
        QFETCH(QString, text);
        QFETCH(double, millis);
        QCOMPARE(MessageTime::millis(text), millis);
    }

    // JSON values: what the document's message content decodes to.
    void decodesAsQtDoes_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("nested") << R"({"b":1,"a":[true,null,{"z":"x","y":[]}],"c":{}})"_ba;
        // UTF-16 order: a character beyond U+FFFF sorts before U+E000 although its UTF-8 is greater.
        QTest::newRow("keys beyond ASCII")
            << R"({"z":1,"\u00e9":2,"\ue000":3,"\ud83d\ude00":4,"\uffff":5,"a\ud83d\ude00":6,"a":7})"_ba;
        // Texts that begin and end alike must stay apart however long they are.
        QTest::newRow("keys alike at both ends")
            << R"({"abcdefgh-one-12345678":1,"abcdefgh-two-12345678":2,"abcdefgh12345678":3,"a":4,)"
               R"("ab":5,"ba":6,"abc":7,"axc":8,"abcde":9,"abxde":10})"_ba;
        QTest::newRow("top-level array") << R"([{"b":1,"a":2},[],"s",-0.5])"_ba;
        // Many shapes of objects inside objects, more than are remembered at once.
        QByteArray shapes = "[";
        for (int i = 0; i < 600; ++i) {
            const QByteArray a = "k" + QByteArray::number(i % 7), b = "k" + QByteArray::number(i % 11);
            shapes += (i ? "," : "") + QByteArray("{\"") + b + "\":{\"" + a + "\":" + QByteArray::number(i) + ",\"" + b
                + "\":{\"x" + QByteArray::number(i % 13) + "\":[]}},\"" + a + "\":" + QByteArray::number(i % 5) + "}";
        }
        QTest::newRow("many shapes") << shapes + "]";
    }

    void decodesAsQtDoes()
    {
        QFETCH(QByteArray, text);
        const JSONValue decoded = json(text);
        // Qt's parse of the same text, written back: the same values, keys in the same (UTF-16) order.
        QCOMPARE(decoded.toJson(), QJsonDocument::fromJson(text).toJson(QJsonDocument::Compact));
        if (decoded.isObject()) {
            for (const auto &member : decoded.members())
                QCOMPARE(decoded.find(member.first), &member.second);
        }
    }

    void duplicateKeysKeepTheLast_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QByteArray>("values"); // the members' values in key order, as compact JSON
        QTest::newRow("twice") << R"({"a":1,"b":2,"a":3})"_ba << QStringList { "a", "b" } << "[3,2]"_ba;
        QTest::newRow("escaped twin") << R"({"a":1,"\u0061":[2]})"_ba << QStringList { "a" } << "[[2]]"_ba;
        // Past 16 members the sort takes another way: k0..k19 twice, the second time 20 more.
        QByteArray many = "{";
        for (int i = 0; i < 40; ++i)
            many += (i ? ",\"k" : "\"k") + QByteArray::number(i % 20) + "\":" + QByteArray::number(i);
        QStringList manyKeys;
        for (int i = 0; i < 20; ++i)
            manyKeys.append(QStringLiteral("k%1").arg(i));
        manyKeys.sort();
        QByteArrayList manyValues;
        for (const QString &k : manyKeys)
            manyValues.append(QByteArray::number(k.mid(1).toInt() + 20));
        QTest::newRow("many keys, each twice") << many + "}" << manyKeys << "[" + manyValues.join(',') + "]";
    }

    void duplicateKeysKeepTheLast()
    {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, keys);
        QFETCH(QByteArray, values);
        const JSONValue decoded = json(text);
        QCOMPARE(::keys(decoded), keys);
        JSONValue::Array inOrder;
        for (const auto &member : decoded.members())
            inOrder.push_back(member.second);
        QCOMPARE(JSONValue::array(inOrder).toJson(), values);
    }

    void partsOutliveTheirTree()
    {
        auto root = std::make_unique<JSONValue>(json(R"({"list":[{"name":"deep","n":[1,2]}],"s":"text"})"));
        JSONValue list = *root->find(u"list");
        const JSONValue inner = list.elements()[0];
        JSONValue moved = std::move(list);
        root.reset();
        QCOMPARE(*inner.stringAt(u"name"), QStringLiteral("deep"));
        QCOMPARE(moved.elements()[0].find(u"n")->elements()[1].toNumber(), 2.0);

        // A value may take the place of the tree it came from.
        JSONValue value = json(R"({"a":{"b":{"c":"end"}}})");
        value = *value.find(u"a");
        value = *value.find(u"b");
        QCOMPARE(*value.stringAt(u"c"), QStringLiteral("end"));

        // Copies share the tree and may be dropped on other threads.
        const JSONValue shared = json(R"({"k":[1,2,3]})");
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([copy = shared] {
                for (int i = 0; i < 1000; ++i) {
                    JSONValue again = copy;
                    JSONValue part = *again.find(u"k");
                    Q_UNUSED(part);
                }
            });
        }
        for (std::thread &t : threads)
            t.join();
        QCOMPARE(shared.find(u"k")->elements().size(), size_t(3));
        QCOMPARE(JSONValue(shared).members().data(), shared.members().data());
    }

    // Message content as the windows show it.
    void readsEveryPartKind()
    {
        const auto parts = ContentNormalizer::parts(json(R"({"parts":[
            {"kind":"text"},
            {"kind":"code","code":"ls","lang":"sh","path":7},
            {"kind":"file","mime":"text/plain","data":"aGk="},
            {"kind":"image","alt":"cat","bytes":12},
            {"kind":"data"},
            {"kind":"tool_call","args":{"q":1},"call_id":"c1"},
            {"kind":"tool_result","ok":"true","result":[1],"error":"e"},
            {"kind":"Text","text":"case matters"},
            "not a part"
        ]})"));
        QCOMPARE(parts.size(), 8);
        QVERIFY(parts[0] == ContentPart(TextPart { QString() }));
        QVERIFY(parts[1] == ContentPart(CodePart { "ls", u"sh"_s, std::nullopt }));
        QVERIFY(parts[2] == ContentPart(FilePart { "file", u"text/plain"_s, std::nullopt, u"aGk="_s }));
        QVERIFY(parts[3] == ContentPart(ImagePart { std::nullopt, 12.0, std::nullopt, u"cat"_s }));
        QVERIFY(parts[4] == ContentPart(DataPart { JSONValue::null(), std::nullopt }));
        QVERIFY(parts[5] == ContentPart(ToolCallPart { QString(), json(R"({"q":1})"), u"c1"_s }));
        QVERIFY(parts[6] == ContentPart(ToolResultPart { false, std::nullopt, json("[1]"), u"e"_s }));
        QVERIFY(parts[7] == ContentPart(UnknownPart { u"Text"_s, json(R"({"kind":"Text","text":"case matters"})") }));
    }

    void sizeFromNumberOrWholeString_data() { Table::load<QByteArray, double>({ "bytes", "expected" }); }

    void sizeFromNumberOrWholeString()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(double, expected);
        const auto parts
            = ContentNormalizer::parts(json(R"({"parts":[{"kind":"file","name":"a","bytes":)" + bytes + "}]}"));
        QCOMPARE(std::get<FilePart>(parts.at(0)).bytes.value_or(-1.0), expected);
    }

    void preview_data() { Table::load<QString, QByteArray, QString>({ "type", "content", "expected" }); }

    void preview()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        QCOMPARE(ContentNormalizer::preview(type, json(content)), expected);
    }

    void searchText_data() { Table::load<QByteArray, QString>({ "content", "expected" }); }

    void searchText()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        QCOMPARE(ContentNormalizer::searchText(json(content)), expected);
    }

    // Display formatting. Dates run at a fixed "now" in a fixed zone (UTC+8), so the
    // results depend on neither the machine's clock nor its zone.
    void bytes_data() { Table::load<double, QString>({ "size", "expected" }); }

    void bytes()
    {
        QFETCH(double, size);
        QFETCH(QString, expected);
        QCOMPARE(Format::bytes(size), expected);
        QCOMPARE(Format::bytes(std::nullopt), u"—"_s);
    }

    void dates_data()
    {
        Table::load<QString, QString, QString, QString>({ "createdAt", "listTime", "separator", "dayKey" });
    }

    void dates()
    {
        QFETCH(QString, createdAt);
        QFETCH(QString, listTime);
        QFETCH(QString, separator);
        QFETCH(QString, dayKey);
        // 2024-05-01 15:30 in UTC+8.
        const QDateTime now(QDate(2024, 5, 1), QTime(15, 30), QTimeZone(8 * 3600));
        QCOMPARE(Format::listTime(createdAt, now), listTime);
        QCOMPARE(Format::daySeparator(createdAt, now), separator);
        QCOMPARE(Format::dayKey(createdAt, now), dayKey);
    }

    void previews_data() { Table::load<QString, int, QString, QString>({ "text", "limit", "preview", "oneLine" }); }

    void previews()
    {
        QFETCH(QString, text);
        QFETCH(int, limit);
        QFETCH(QString, preview);
        QFETCH(QString, oneLine);
        QCOMPARE(Format::preview(text, limit), preview);
        QCOMPARE(Format::oneLine(text, limit), oneLine);
    }

    // A text that fits is handed back shared, not copied: a 16 MB body must not double.
    void previewOfAFittingTextSharesIt()
    {
        const QString body(1 << 20, u'x');
        QVERIFY(Format::preview(body, body.size()).constData() == body.constData());
    }
};

QTEST_GUILESS_MAIN(TestModel)
#include "tst_model.moc"
