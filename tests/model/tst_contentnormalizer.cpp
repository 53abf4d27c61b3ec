#include "model/ContentNormalizer.h"
#include "model/Format.h"

#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {

JSONValue json(const QByteArray &text)
{
    const auto v = JSONValue::fromJson(text);
    if (!v)
        qFatal("bad test JSON: %s", text.constData());
    return *v;
}

} // namespace

class TestContentNormalizer : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void partsFallBack_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("text"); // null: the whole content as data
        QTest::newRow("unusable parts and text") << R"({"parts":[1,{"kind":3},{}],"text":"T"})"_ba << u"T"_s;
        QTest::newRow("parts not an array") << R"({"parts":{"kind":"code"},"text":"T"})"_ba << u"T"_s;
        QTest::newRow("text not a string") << R"({"text":5})"_ba << QString();
    }

    void partsFallBack()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, text);
        const JSONValue value = json(content);
        const auto parts = ContentNormalizer::parts(value);
        QCOMPARE(parts.size(), 1);
        QVERIFY(parts[0] == (text.isNull() ? ContentPart(DataPart { value, std::nullopt }) : TextPart { text }));
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
        QVERIFY(parts[1] == ContentPart(CodePart { "ls", u"sh"_s, std::nullopt }));
        QVERIFY(parts[2] == ContentPart(FilePart { "file", u"text/plain"_s, std::nullopt, u"aGk="_s }));
        QVERIFY(parts[3] == ContentPart(ImagePart { std::nullopt, 12.0, std::nullopt, u"cat"_s }));
        QVERIFY(parts[4] == ContentPart(DataPart { JSONValue::null(), std::nullopt }));
        QVERIFY(parts[5] == ContentPart(ToolCallPart { QString(), json(R"({"q":1})"), u"c1"_s }));
        QVERIFY(parts[6] == ContentPart(ToolResultPart { false, std::nullopt, json("[1]"), u"e"_s }));
        QVERIFY(parts[7] == ContentPart(UnknownPart { u"Text"_s, json(R"({"kind":"Text","text":"case matters"})") }));
    }

    void sizeFromNumberOrWholeString_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<double>("expected"); // -1: absent
        QTest::newRow("number") << "2048"_ba << 2048.0;
        QTest::newRow("string") << R"("1e3")"_ba << 1000.0;
        QTest::newRow("string with unit") << R"("1024KB")"_ba << -1.0;
        QTest::newRow("string with a blank") << R"(" 1024")"_ba << -1.0;
        QTest::newRow("empty string") << R"("")"_ba << -1.0;
    }

    void sizeFromNumberOrWholeString()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(double, expected);
        const auto parts
            = ContentNormalizer::parts(json(R"({"parts":[{"kind":"file","name":"a","bytes":)" + bytes + "}]}"));
        QCOMPARE(std::get<FilePart>(parts.at(0)).bytes.value_or(-1.0), expected);
    }

    void preview_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");
        QTest::newRow("text") << u"text"_s << R"({"text":"Hello"})"_ba << u"Hello"_s;
        QTest::newRow("data only") << u"text"_s << R"({"a":1})"_ba << u"{ } structured data"_s;
        QTest::newRow("code without lang")
            << u"text"_s << R"({"parts":[{"kind":"code","code":"x"}]})"_ba << u"‹› code"_s;
        QTest::newRow("empty text then code")
            << u"text"_s << R"({"parts":[{"kind":"text","text":""},{"kind":"code","lang":"py"}]})"_ba << u"‹› py"_s;
        QTest::newRow("data then unknown then image")
            << u"text"_s << R"({"parts":[{"kind":"data"},{"kind":"x"},{"kind":"image"}]})"_ba << u"▢ image"_s;
        QTest::newRow("tool call") << u"tool_call"_s << R"({"parts":[{"kind":"tool_call","name":"grep"}]})"_ba
                                   << u"⚙ grep"_s;
        QTest::newRow("finding title") << u"Agent.Finding"_s << R"({"title":"Cache"})"_ba << u"⚠ Cache"_s;
        QTest::newRow("finding neither") << u"agent.finding"_s << R"({"text":"t"})"_ba << u"⚠ Finding"_s;
        QTest::newRow("task") << u"agent.task.done"_s << R"({"task":"Ship","title":"T"})"_ba << u"☑ Ship"_s;
        QTest::newRow("artifact filename") << u"artifact.file"_s << R"({"filename":"a.txt"})"_ba << u"▣ a.txt"_s;
        // Families are prefixes of the whole type, and an artifact's needs its dot.
        QTest::newRow("bare artifact") << u"artifact"_s << R"({"text":"t"})"_ba << u"t"_s;
        QTest::newRow("prefix in the middle") << u"x.agent.finding"_s << R"({"text":"t"})"_ba << u"t"_s;
    }

    void preview()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        QCOMPARE(ContentNormalizer::preview(type, json(content)), expected);
    }

    void searchText_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected");
        QTest::newRow("text lowercased") << R"({"text":"Hello ÄÖ"})"_ba << u"hello äö"_s;
        QTest::newRow("code lang path") << R"({"parts":[{"kind":"code","code":"LS -la","lang":"Sh","path":"/Bin"}]})"_ba
                                        << u"ls -la sh /bin"_s;
        QTest::newRow("file and image")
            << R"({"parts":[{"kind":"file","name":"A.PDF","mime":"application/pdf"},{"kind":"image"},{"kind":"image","alt":"Cat"}]})"_ba
            << u"a.pdf application/pdf cat"_s;
        QTest::newRow("data") << R"({"K":"V"})"_ba << u"{\n    \"k\" : \"v\"\n}"_s;
        QTest::newRow("tool call") << R"({"parts":[{"kind":"tool_call","name":"Grep","args":{"p":"X"}}]})"_ba
                                   << u"grep {\n    \"p\" : \"x\"\n}"_s;
        QTest::newRow("tool result") << R"({"parts":[{"kind":"tool_result","result":"Done","error":"Late"}]})"_ba
                                     << u"{\n    \"value\" : \"done\"\n} late"_s;
        QTest::newRow("unknown") << R"({"parts":[{"kind":"Blob"}]})"_ba << u"blob {\n    \"kind\" : \"blob\"\n}"_s;
    }

    void searchText()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        QCOMPARE(ContentNormalizer::searchText(json(content)), expected);
    }

    // Display formatting. Dates run at a fixed "now" in a fixed zone (UTC+8), so the
    // results depend on neither the machine's clock nor its zone.
    void bytes_data()
    {
        QTest::addColumn<double>("size");
        QTest::addColumn<QString>("expected");
        QTest::newRow("truncates") << 1023.9 << u"1023 B"_s;
        QTest::newRow("one KB") << 1024.0 << u"1.0 KB"_s;
        QTest::newRow("just under a MB") << 1048575.0 << u"1024.0 KB"_s;
        QTest::newRow("one MB") << 1048576.0 << u"1.0 MB"_s;
        QTest::newRow("a gigabyte stays MB") << 1073741824.0 << u"1024.0 MB"_s;
        QTest::newRow("negative") << -1.0 << u"—"_s;
        QTest::newRow("not a number") << qQNaN() << u"—"_s;
    }

    void bytes()
    {
        QFETCH(double, size);
        QFETCH(QString, expected);
        QCOMPARE(Format::bytes(size), expected);
        QCOMPARE(Format::bytes(std::nullopt), u"—"_s);
    }

    void dates_data()
    {
        QTest::addColumn<QString>("createdAt");
        QTest::addColumn<QString>("listTime");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("dayKey");
        QTest::newRow("earlier today") << u"2024-05-01T01:05:00Z"_s << u"09:05"_s << u"今天"_s << u"2024-5-1"_s;
        // 23:59 UTC on 30 April is already 1 May in UTC+8.
        QTest::newRow("UTC yesterday") << u"2024-04-30T23:59:00Z"_s << u"07:59"_s << u"今天"_s << u"2024-5-1"_s;
        QTest::newRow("yesterday") << u"2024-04-30T10:00:00Z"_s << u"4/30"_s << u"昨天"_s << u"2024-4-30"_s;
        QTest::newRow("this year") << u"2024-02-03T10:00:00+08:00"_s << u"2/3"_s << u"2月3日"_s << u"2024-2-3"_s;
        QTest::newRow("earlier year") << u"2023-12-31T10:00:00Z"_s << u"12/31"_s << u"2023年12月31日"_s
                                      << u"2023-12-31"_s;
        QTest::newRow("unparseable") << u"soon"_s << QString() << u"soon"_s << u"soon"_s;
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

    void previews_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("preview");
        QTest::addColumn<QString>("oneLine");
        QTest::newRow("fits") << u"a  b\nc"_s << 6 << u"a  b\nc"_s << u"a b c"_s;
        QTest::newRow("cut") << u"abcdef"_s << 4 << u"abc…"_s << u"abc…"_s;
        // An emoji is two UTF-16 units: never keep half of one.
        QTest::newRow("surrogate pair at the cut") << u"ab😀cd"_s << 4 << u"ab…"_s << u"ab…"_s;
        QTest::newRow("folded, then fits") << u"a \n\n b"_s << 3 << u"a …"_s << u"a b"_s;
        QTest::newRow("long whitespace") << QString(500, u' ') + u"tail"_s << 10 << QString(9, u' ') + u"…"_s << u"…"_s;
    }

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

QTEST_GUILESS_MAIN(TestContentNormalizer)
#include "tst_contentnormalizer.moc"
