#include "model/PanelState.h"
#include "state/AppState.h"
#include "ui/ConversationModel.h"
#include "ui/MainViewModel.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
Message msg(const QString &id, const QDateTime &at, const QString &text = u"hi"_s)
{
    return Message { id, u"alice"_s, u"in"_s, u"text"_s, u"delivered"_s, at.toUTC().toString(Qt::ISODate),
        JSONValue::object({ { u"text"_s, JSONValue::string(text) } }) };
}

// alice's conversation in the model, from the messages given.
struct World {
    explicit World(const QList<Message> &messages)
    {
        doc.messages = messages;
        state.setState(doc);
        model.setPeer(u"alice"_s);
    }
    QVariant at(int row, int role) const { return model.data(model.index(row), role); }
    AppState state { nullptr, UnreadTracker::Storage::scratch };
    PanelState doc;
    ConversationModel model { state, nullptr };
};

const QDate kDay(2023, 3, 4);
} // namespace

class TestConversationModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void profileGroupsContactsByStatus()
    {
        AppState state(nullptr, UnreadTracker::Storage::scratch);
        PanelState doc;
        doc.contacts = { Contact { "bob", "F1", u"connected"_s }, Contact { "dan", "F2", std::nullopt },
            Contact { "carol", "F3", u"pending"_s }, Contact { "eve", "F4", u"blocked"_s } };
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

    // Newest first; the oldest message of each day carries the day's label. A new message
    // is inserted and a changed one updated in place; one gone from the middle rebuilds.
    void newestFirstWithOneSeparatorPerDay()
    {
        World w({ msg("b", { kDay, QTime(12, 0) }), msg("a", { kDay, QTime(9, 0) }),
            msg("c", { kDay.addDays(1), QTime(8, 0) }) });
        QCOMPARE(w.model.rowCount(), 3);
        QCOMPARE(w.at(0, ConversationModel::IdRole).toString(), u"c"_s);
        QCOMPARE(w.at(2, ConversationModel::IdRole).toString(), u"a"_s);
        QCOMPARE(w.at(0, ConversationModel::SeparatorRole).toString(), u"2023年3月5日"_s);
        QCOMPARE(w.at(1, ConversationModel::SeparatorRole).toString(), QString());
        QCOMPARE(w.at(2, ConversationModel::SeparatorRole).toString(), u"2023年3月4日"_s);
        QCOMPARE(w.at(2, ConversationModel::TimeRole).toString(), u"09:00"_s);

        QSignalSpy resets(&w.model, &QAbstractItemModel::modelReset);
        QSignalSpy inserts(&w.model, &QAbstractItemModel::rowsInserted);
        QSignalSpy changes(&w.model, &QAbstractItemModel::dataChanged);
        w.doc.messages[1].status = u"read"_s;
        w.doc.messages.append(msg("d", { kDay.addDays(1), QTime(11, 0) }, u"new"_s));
        w.state.setState(w.doc);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(inserts.count(), 1);
        QCOMPARE(inserts[0][1].toInt(), 0);
        QCOMPARE(w.at(0, ConversationModel::IdRole).toString(), u"d"_s);
        QCOMPARE(w.at(3, ConversationModel::StatusRole).toString(), u"read"_s);
        QVERIFY(!changes.isEmpty());

        w.doc.messages.removeFirst();
        w.state.setState(w.doc);
        QCOMPARE(resets.count(), 1);
        QCOMPARE(w.model.rowCount(), 3);
    }

    void partsCarryTheirSizeButNoRawData()
    {
        Message m = msg("f", QDateTime::currentDateTime());
        m.content = *JSONValue::fromJson(R"({"parts":[{"kind":"file","name":"r.pdf","bytes":2048,"data":"QUJD"}]})");
        World w({ m });
        const QVariantMap part = w.at(0, ConversationModel::PartsRole).toList().value(0).toMap();
        QCOMPARE(part.value("kind").toString(), u"file"_s);
        QCOMPARE(part.value("size").toString(), u"2.0 KB"_s);
        QVERIFY(!part.contains("dataBase64"));
    }
};

QTEST_GUILESS_MAIN(TestConversationModel)
#include "tst_conversationmodel.moc"
