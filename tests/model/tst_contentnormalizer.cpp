#include "model/ContentNormalizer.h"

#include <QTest>

namespace {

JSONValue json(const char *text)
{
    const auto v = JSONValue::fromJson(QByteArray(text));
    if (!v)
        qFatal("bad test JSON: %s", text);
    return *v;
}

} // namespace

class TestContentNormalizer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void familyOfType_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("family"); // -1: none
        QTest::newRow("finding") << "agent.finding" << int(MessageTypeFamily::finding);
        QTest::newRow("task dotted") << "agent.task.created" << int(MessageTypeFamily::task);
        QTest::newRow("artifact dotted") << "artifact.file" << int(MessageTypeFamily::artifact);
        QTest::newRow("bare artifact") << "artifact" << -1;
        QTest::newRow("prefix in the middle") << "x.agent.finding" << -1;
    }

    void familyOfType()
    {
        QFETCH(QString, type);
        QFETCH(int, family);
        const auto f = MessageTypeFamily::of(type);
        QCOMPARE(f ? int(*f) : -1, family);
    }

    void partsFallBack_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected"); // "text:<text>" or "data"
        QTest::newRow("text only") << QByteArray(R"({"text":"Hello"})") << "text:Hello";
        QTest::newRow("unusable parts and text") << QByteArray(R"({"parts":[1,{"kind":3},{}],"text":"T"})") << "text:T";
        QTest::newRow("parts not an array") << QByteArray(R"({"parts":{"kind":"code"},"text":"T"})") << "text:T";
        QTest::newRow("text not a string") << QByteArray(R"({"text":5})") << "data";
        QTest::newRow("null") << QByteArray("null") << "data";
    }

    void partsFallBack()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        const JSONValue value = json(content.constData());
        const auto parts = ContentNormalizer::parts(value);
        QCOMPARE(parts.size(), 1);
        if (expected == QLatin1String("data")) {
            QVERIFY(std::holds_alternative<DataPart>(parts[0]));
            QVERIFY(std::get<DataPart>(parts[0]) == (DataPart { value, std::nullopt }));
        } else {
            QVERIFY(std::holds_alternative<TextPart>(parts[0]));
            QCOMPARE(std::get<TextPart>(parts[0]).text, expected.mid(5));
        }
    }

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
        QVERIFY(parts[1] == ContentPart(CodePart { "ls", QStringLiteral("sh"), std::nullopt }));
        QVERIFY(parts[2]
            == ContentPart(FilePart { "file", QStringLiteral("text/plain"), std::nullopt, QStringLiteral("aGk=") }));
        QVERIFY(parts[3] == ContentPart(ImagePart { std::nullopt, 12.0, std::nullopt, QStringLiteral("cat") }));
        QVERIFY(parts[4] == ContentPart(DataPart { JSONValue::null(), std::nullopt }));
        QVERIFY(parts[5] == ContentPart(ToolCallPart { QString(), json(R"({"q":1})"), QStringLiteral("c1") }));
        QVERIFY(parts[6] == ContentPart(ToolResultPart { false, std::nullopt, json("[1]"), QStringLiteral("e") }));
        QVERIFY(std::holds_alternative<UnknownPart>(parts[7]));
        QCOMPARE(std::get<UnknownPart>(parts[7]).kind, QStringLiteral("Text"));
        QVERIFY(std::get<UnknownPart>(parts[7]).raw == json(R"({"kind":"Text","text":"case matters"})"));
    }

    void sizeFromNumberOrWholeString_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<double>("expected"); // -1: absent
        QTest::newRow("number") << QByteArray("2048") << 2048.0;
        QTest::newRow("string") << QByteArray(R"("1024")") << 1024.0;
        QTest::newRow("string with exponent") << QByteArray(R"("1e3")") << 1000.0;
        QTest::newRow("string with unit") << QByteArray(R"("1024KB")") << -1.0;
        QTest::newRow("empty string") << QByteArray(R"("")") << -1.0;
    }

    void sizeFromNumberOrWholeString()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(double, expected);
        const auto parts
            = ContentNormalizer::parts(json(R"({"parts":[{"kind":"file","name":"a","bytes":)" + bytes + "}]}"));
        const auto &file = std::get<FilePart>(parts.at(0));
        QCOMPARE(file.bytes.value_or(-1.0), expected);
    }

    void preview_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");
        QTest::newRow("text") << "text" << QByteArray(R"({"text":"Hello"})") << "Hello";
        QTest::newRow("data only") << "text" << QByteArray(R"({"a":1})") << "{ } structured data";
        QTest::newRow("code without lang")
            << "text" << QByteArray(R"({"parts":[{"kind":"code","code":"x"}]})") << "‹› code";
        QTest::newRow("empty text then code")
            << "text" << QByteArray(R"({"parts":[{"kind":"text","text":""},{"kind":"code","lang":"py"}]})") << "‹› py";
        QTest::newRow("data then unknown then image")
            << "text" << QByteArray(R"({"parts":[{"kind":"data"},{"kind":"x"},{"kind":"image"}]})") << "▢ image";
        QTest::newRow("tool call") << "tool_call" << QByteArray(R"({"parts":[{"kind":"tool_call","name":"grep"}]})")
                                   << "⚙ grep";
        QTest::newRow("finding title") << "Agent.Finding" << QByteArray(R"({"title":"Cache"})") << "⚠ Cache";
        QTest::newRow("finding neither") << "agent.finding" << QByteArray(R"({"text":"t"})") << "⚠ Finding";
        QTest::newRow("task") << "agent.task.done" << QByteArray(R"({"task":"Ship","title":"T"})") << "☑ Ship";
        QTest::newRow("artifact filename") << "artifact.file" << QByteArray(R"({"filename":"a.txt"})") << "▣ a.txt";
    }

    void preview()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        QCOMPARE(ContentNormalizer::preview(type, json(content.constData())), expected);
    }

    void searchText_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");
        QTest::newRow("text lowercased") << QByteArray(R"({"text":"Hello ÄÖ"})") << "hello äö";
        QTest::newRow("code lang path") << QByteArray(
            R"({"parts":[{"kind":"code","code":"LS -la","lang":"Sh","path":"/Bin"}]})")
                                        << "ls -la sh /bin";
        QTest::newRow("file and image") << QByteArray(
            R"({"parts":[{"kind":"file","name":"A.PDF","mime":"application/pdf"},{"kind":"image"},{"kind":"image","alt":"Cat"}]})")
                                        << "a.pdf application/pdf cat";
        QTest::newRow("data") << QByteArray(R"({"K":"V"})") << "{\n    \"k\" : \"v\"\n}";
        QTest::newRow("tool call") << QByteArray(R"({"parts":[{"kind":"tool_call","name":"Grep","args":{"p":"X"}}]})")
                                   << "grep {\n    \"p\" : \"x\"\n}";
        QTest::newRow("tool result") << QByteArray(
            R"({"parts":[{"kind":"tool_result","result":"Done","error":"Late"}]})")
                                     << "{\n    \"value\" : \"done\"\n} late";
        QTest::newRow("unknown") << QByteArray(R"({"parts":[{"kind":"Blob"}]})")
                                 << "blob {\n    \"kind\" : \"blob\"\n}";
    }

    void searchText()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        QCOMPARE(ContentNormalizer::searchText(json(content.constData())), expected);
    }
};

QTEST_GUILESS_MAIN(TestContentNormalizer)
#include "tst_contentnormalizer.moc"
