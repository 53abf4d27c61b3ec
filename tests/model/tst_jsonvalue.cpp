#include "model/JSONValue.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

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

// The same value built through the public constructors from Qt's own parse: an independent
// way to the expected sorting of keys.
JSONValue viaQt(const QJsonValue &v)
{
    switch (v.type()) {
    case QJsonValue::Bool:
        return JSONValue::boolean(v.toBool());
    case QJsonValue::Double:
        return JSONValue::number(v.toDouble());
    case QJsonValue::String:
        return JSONValue::string(v.toString());
    case QJsonValue::Array: {
        JSONValue::Array elements;
        for (const QJsonValue &e : v.toArray())
            elements.push_back(viaQt(e));
        return JSONValue::array(std::move(elements));
    }
    case QJsonValue::Object: {
        JSONValue::Object members;
        const QJsonObject o = v.toObject();
        for (auto it = o.begin(); it != o.end(); ++it)
            members.emplace_back(it.key(), viaQt(it.value()));
        return JSONValue::object(std::move(members));
    }
    default:
        return JSONValue::null();
    }
}

QStringList keys(const JSONValue &object)
{
    QStringList out;
    for (const auto &member : object.members())
        out.append(member.first);
    return out;
}

} // namespace

class TestJSONValue : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodesLikeTheConstructors_data()
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

    void decodesLikeTheConstructors()
    {
        QFETCH(QByteArray, text);
        const JSONValue decoded = json(text);
        const QJsonDocument doc = QJsonDocument::fromJson(text);
        QVERIFY(decoded == viaQt(doc.isArray() ? QJsonValue(doc.array()) : QJsonValue(doc.object())));
        if (decoded.isObject()) {
            QStringList sorted = keys(decoded);
            std::sort(sorted.begin(), sorted.end());
            QCOMPARE(keys(decoded), sorted);
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
};

QTEST_GUILESS_MAIN(TestJSONValue)
#include "tst_jsonvalue.moc"
