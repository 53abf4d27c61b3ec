#include "model/Format.h"

#include <QTest>
#include <QTimeZone>

namespace {

const QTimeZone kZone(8 * 3600);
// 2024-05-01 15:30 in UTC+8.
const QDateTime kNow(QDate(2024, 5, 1), QTime(15, 30), kZone);

} // namespace

// Every case runs at a fixed "now" in a fixed zone (UTC+8), so the results do not depend
// on the machine's clock or zone.
class TestFormat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void bytes_data()
    {
        QTest::addColumn<double>("size"); // NaN row tested separately below
        QTest::addColumn<QString>("expected");
        QTest::newRow("zero") << 0.0 << "0 B";
        QTest::newRow("truncates") << 1023.9 << "1023 B";
        QTest::newRow("one KB") << 1024.0 << "1.0 KB";
        QTest::newRow("just under a MB") << 1048575.0 << "1024.0 KB";
        QTest::newRow("one MB") << 1048576.0 << "1.0 MB";
        QTest::newRow("a gigabyte stays MB") << 1073741824.0 << "1024.0 MB";
        QTest::newRow("negative") << -1.0 << "—";
        QTest::newRow("not a number") << qQNaN() << "—";
    }

    void bytes()
    {
        QFETCH(double, size);
        QFETCH(QString, expected);
        QCOMPARE(Format::bytes(size), expected);
        QCOMPARE(Format::bytes(std::nullopt), QStringLiteral("—"));
    }

    void dates_data()
    {
        QTest::addColumn<QString>("createdAt");
        QTest::addColumn<QString>("listTime");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("dayKey");
        // 2024-05-01 09:05 in UTC+8.
        QTest::newRow("earlier today") << "2024-05-01T01:05:00Z"
                                       << "09:05"
                                       << "今天"
                                       << "2024-5-1";
        // 23:59 UTC on 30 April is already 1 May in UTC+8.
        QTest::newRow("UTC yesterday, local today") << "2024-04-30T23:59:00Z"
                                                    << "07:59"
                                                    << "今天"
                                                    << "2024-5-1";
        QTest::newRow("yesterday") << "2024-04-30T10:00:00Z"
                                   << "4/30"
                                   << "昨天"
                                   << "2024-4-30";
        QTest::newRow("this year") << "2024-02-03T10:00:00+08:00"
                                   << "2/3"
                                   << "2月3日"
                                   << "2024-2-3";
        QTest::newRow("earlier year") << "2023-12-31T10:00:00Z"
                                      << "12/31"
                                      << "2023年12月31日"
                                      << "2023-12-31";
        QTest::newRow("unparseable") << "soon"
                                     << ""
                                     << "soon"
                                     << "soon";
    }

    void dates()
    {
        QFETCH(QString, createdAt);
        QFETCH(QString, listTime);
        QFETCH(QString, separator);
        QFETCH(QString, dayKey);
        QCOMPARE(Format::listTime(createdAt, kNow), listTime);
        QCOMPARE(Format::daySeparator(createdAt, kNow), separator);
        QCOMPARE(Format::dayKey(createdAt, kNow), dayKey);
    }

    void previews_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("preview");
        QTest::addColumn<QString>("oneLine");
        QTest::newRow("fits") << "a  b\nc" << 6 << "a  b\nc"
                              << "a b c";
        QTest::newRow("cut") << "abcdef" << 4 << "abc…"
                             << "abc…";
        // An emoji is two UTF-16 units: never keep half of one.
        QTest::newRow("surrogate pair at the cut") << "ab😀cd" << 4 << "ab…"
                                                   << "ab…";
        QTest::newRow("folded, then fits") << "a \n\n b" << 3 << "a …"
                                           << "a b";
        QTest::newRow("long whitespace") << QString(500, u' ') + "tail" << 10 << QString(9, u' ') + "…"
                                         << "…";
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
