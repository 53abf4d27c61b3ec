#include "model/PanelState.h"
#include "state/AppState.h"
#include "ui/ConversationModel.h"
#include "ui/MainViewModel.h"

#include <QSignalSpy>
#include <QTest>

namespace {
Message msg(const QString &id, const QString &createdAt, const QString &text = QStringLiteral("hi"))
{
    return Message { id, QStringLiteral("alice"), QStringLiteral("in"), QStringLiteral("text"),
        QStringLiteral("delivered"), createdAt,
        JSONValue::object({ { QStringLiteral("text"), JSONValue::string(text) } }) };
}

QString localStamp(const QDate &day, int hour)
{
    return QDateTime(day, QTime(hour, 0)).toUTC().toString(Qt::ISODate);
}
} // namespace

class TestConversationModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void profileGroupsContactsByStatus()
    {
        AppState state(nullptr, UnreadTracker::Storage::scratch);
        PanelState doc;
        doc.contacts = { Contact { "bob", "F1", QStringLiteral("connected") }, Contact { "dan", "F2", std::nullopt },
            Contact { "carol", "F3", QStringLiteral("pending") }, Contact { "eve", "F4", QStringLiteral("blocked") } };
        state.setState(doc);
        MainViewModel vm(state, nullptr, nullptr);
        const auto handles = [](const QVariantList &rows) {
            QStringList out;
            for (const QVariant &r : rows)
                out << r.toMap().value("handle").toString() + ":" + r.toMap().value("note").toString();
            return out;
        };
        QCOMPARE(handles(vm.contacts()), QStringList({ "bob:已连接", "dan:已连接" }));
        QCOMPARE(handles(vm.otherContacts()), QStringList({ "carol:待对方确认", "eve:已屏蔽" }));
    }

    void newestFirstWithOneSeparatorPerDay()
    {
        AppState state;
        const QDate day(2023, 3, 4);
        PanelState doc;
        doc.messages
            = { msg("b", localStamp(day, 12)), msg("a", localStamp(day, 9)), msg("c", localStamp(day.addDays(1), 8)) };
        state.setState(doc);
        ConversationModel model(state, nullptr);
        model.setPeer(QStringLiteral("alice"));

        QCOMPARE(model.rowCount(), 3);
        auto at = [&](int row, int role) { return model.data(model.index(row), role); };
        QCOMPARE(at(0, ConversationModel::IdRole).toString(), QStringLiteral("c"));
        QCOMPARE(at(2, ConversationModel::IdRole).toString(), QStringLiteral("a"));
        // The oldest message of each day carries the label; the rest of the day none.
        QCOMPARE(at(0, ConversationModel::SeparatorRole).toString(), QStringLiteral("2023年3月5日"));
        QCOMPARE(at(1, ConversationModel::SeparatorRole).toString(), QString());
        QCOMPARE(at(2, ConversationModel::SeparatorRole).toString(), QStringLiteral("2023年3月4日"));
        QCOMPARE(at(2, ConversationModel::TimeRole).toString(), QStringLiteral("09:00"));
    }

    void newMessagesAreInsertedWithoutReset()
    {
        AppState state;
        const QDate day(2023, 3, 4);
        PanelState doc;
        doc.messages = { msg("a", localStamp(day, 9)), msg("b", localStamp(day, 10)) };
        state.setState(doc);
        ConversationModel model(state, nullptr);
        model.setPeer(QStringLiteral("alice"));

        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QSignalSpy inserts(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
        doc.messages[0].status = QStringLiteral("read");
        doc.messages.append(msg("c", localStamp(day, 11), QStringLiteral("new")));
        state.setState(doc);

        QCOMPARE(resets.count(), 0);
        QCOMPARE(inserts.count(), 1);
        QCOMPARE(inserts[0][1].toInt(), 0);
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(model.data(model.index(0), ConversationModel::IdRole).toString(), QStringLiteral("c"));
        QCOMPARE(model.data(model.index(2), ConversationModel::StatusRole).toString(), QStringLiteral("read"));
        QVERIFY(!changes.isEmpty());

        // A message gone from the middle rebuilds the list.
        doc.messages.removeFirst();
        state.setState(doc);
        QCOMPARE(resets.count(), 1);
        QCOMPARE(model.rowCount(), 2);
    }

    void partsCarryTheirSizeButNoRawData()
    {
        AppState state;
        PanelState doc;
        Message m = msg("f", QStringLiteral("2024-01-01T10:00:00Z"));
        m.content
            = JSONValue::fromJson(R"({"parts":[{"kind":"file","name":"r.pdf","bytes":2048,"data":"QUJD"}]})").value();
        doc.messages = { m };
        state.setState(doc);
        ConversationModel model(state, nullptr);
        model.setPeer(QStringLiteral("alice"));
        const QVariantMap part = model.data(model.index(0), ConversationModel::PartsRole).toList().value(0).toMap();
        QCOMPARE(part.value(QStringLiteral("kind")).toString(), QStringLiteral("file"));
        QCOMPARE(part.value(QStringLiteral("size")).toString(), QStringLiteral("2.0 KB"));
        QVERIFY(!part.contains(QStringLiteral("dataBase64")));
    }
};

QTEST_GUILESS_MAIN(TestConversationModel)
#include "tst_conversationmodel.moc"
