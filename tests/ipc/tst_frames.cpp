#include "ipc/Frames.h"

#include <QTest>

class TestFrames : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodesOptionalFieldsAsAbsent()
    {
        const auto minimal = Frames::decodeNotify(R"({"type":"notify","sender":"a","body":"hi"})");
        QVERIFY(minimal);
        QCOMPARE(minimal->sender, QStringLiteral("a"));
        QVERIFY(!minimal->title && !minimal->msgId && !minimal->focused && !minimal->hasCode && !minimal->codeText);

        // null is absent, not false; unknown keys are the tool's business
        const auto withNull
            = Frames::decodeNotify(R"({"type":"notify","sender":"a","body":"hi","focused":null,"x":[1]})");
        QVERIFY(withNull);
        QVERIFY(!withNull->focused.has_value());

        const auto full = Frames::decodeNotify(
            R"({"type":"notify","sender":"bob","title":"T","body":"多行\n正文","msgId":"m1","focused":false,"hasCode":true,"codeText":"ls"})");
        QVERIFY(full);
        QCOMPARE(full->body, QStringLiteral("多行\n正文"));
        QCOMPARE(full->focused, std::optional<bool>(false));
        QCOMPARE(full->codeText, std::optional<QString>(QStringLiteral("ls")));
    }

    void rejectsWrongShapes_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("no body") << QByteArray(R"({"type":"notify","sender":"a"})");
        QTest::newRow("number sender") << QByteArray(R"({"type":"notify","sender":1,"body":"x"})");
        QTest::newRow("string focused") << QByteArray(R"({"type":"notify","sender":"a","body":"x","focused":"true"})");
        QTest::newRow("missing type") << QByteArray(R"({"sender":"a","body":"x"})");
        QTest::newRow("garbage") << QByteArray("garbage");
    }

    void rejectsWrongShapes()
    {
        QFETCH(QByteArray, line);
        QVERIFY(!Frames::decodeNotify(line));
    }

    void encodesRepliesAndFillsByteForByte_data()
    {
        QTest::addColumn<QByteArray>("encoded");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("reply, no msgId") << Frames::encode(ReplyFrame { QStringLiteral("a"), QStringLiteral("ok"), {} })
                                         << QByteArray(R"({"type":"reply","sender":"a","text":"ok"})");
        // Slash escaped as the tool's encoder does; non-ASCII raw UTF-8; controls escaped.
        QTest::newRow("escaping")
            << Frames::encode(FillFrame { QStringLiteral("a/b \"q\" \\ \n\t中文\x01"), {} })
            << QByteArray(
                   "{\"type\":\"fill\",\"text\":\"a\\/b \\\"q\\\" \\\\ \\n\\t\xe4\xb8\xad\xe6\x96\x87\\u0001\"}");
    }

    void encodesRepliesAndFillsByteForByte()
    {
        QFETCH(QByteArray, encoded);
        QFETCH(QByteArray, expected);
        QCOMPARE(encoded, expected);
        QVERIFY(!encoded.contains('\n')); // a frame is always one line
    }
};

QTEST_GUILESS_MAIN(TestFrames)
#include "tst_frames.moc"
