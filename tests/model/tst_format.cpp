#include "model/Format.h"

#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

// Every case runs at a fixed "now" in a fixed zone (UTC+8), so the results do not depend
// on the machine's clock or zone.
class TestFormat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
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

QTEST_GUILESS_MAIN(TestFormat)
#include "tst_format.moc"
