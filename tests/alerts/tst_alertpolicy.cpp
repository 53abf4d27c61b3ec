// How a message alerts for every combination that matters: the quiet rule, urgency
// mapping, do-not-disturb with and without a recorded breakthrough, and the chime.
#include "alerts/AlertPolicy.h"

#include <QTest>

using B = Alert::Banner;
using O = Alert::Overlay;

class TestAlertPolicy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decide_data()
    {
        // Switches: quiet when focused, urgency mapping, focus filter, sound.
        QTest::addColumn<QString>("switches"); // "qufs", upper case: on
        QTest::addColumn<std::optional<bool>>("focused");
        QTest::addColumn<QString>("dnd"); // "off", "on", "on+breakthrough"
        QTest::addColumn<B>("banner");
        QTest::addColumn<O>("overlay");
        QTest::addColumn<bool>("chime");

        const std::optional<bool> absent, yes(true), no(false);
        // clang-format off
        QTest::newRow("defaults, unfocused")          << "qUfS" << no     << "off" << B::normal   << O::show  << true;
        QTest::newRow("defaults, focused: low")       << "qUfS" << yes    << "off" << B::low      << O::show  << true;
        QTest::newRow("focused absent")               << "QUfS" << absent << "off" << B::normal   << O::show  << true;
        QTest::newRow("mapping off, focused")         << "qufS" << yes    << "off" << B::normal   << O::show  << true;
        QTest::newRow("quiet, focused: pulse only")   << "QUfS" << yes    << "off" << B::none     << O::pulse << true;
        QTest::newRow("quiet, unfocused")             << "QUfS" << no     << "off" << B::normal   << O::show  << true;
        QTest::newRow("sound off")                    << "qUfs" << no     << "off" << B::normal   << O::show  << false;
        // Do-not-disturb without breakthrough: the server holds the banner, the overlay
        // pulses, no chime.
        QTest::newRow("dnd")                          << "qUfS" << no     << "on"  << B::normal   << O::pulse << false;
        QTest::newRow("dnd, focused")                 << "qUfS" << yes    << "on"  << B::low      << O::pulse << false;
        QTest::newRow("dnd, quiet focused")           << "QUfS" << yes    << "on"  << B::none     << O::pulse << false;
        QTest::newRow("dnd, breakthrough, filter off") << "qUfS" << no    << "on+breakthrough" << B::normal << O::pulse << false;
        QTest::newRow("dnd, filter on, none recorded") << "qUFS" << no    << "on"  << B::normal   << O::pulse << false;
        // A recorded breakthrough: critical, shown and heard like any other message.
        QTest::newRow("breakthrough")                 << "qUFS" << no     << "on+breakthrough" << B::critical << O::show << true;
        QTest::newRow("breakthrough, focused")        << "qUFS" << yes    << "on+breakthrough" << B::critical << O::show << true;
        QTest::newRow("breakthrough, quiet focused")  << "QUFS" << yes    << "on+breakthrough" << B::none << O::pulse << true;
        QTest::newRow("breakthrough, sound off")      << "qUFs" << no     << "on+breakthrough" << B::critical << O::show << false;
        QTest::newRow("recorded, dnd over")           << "qUFS" << no     << "off+breakthrough" << B::normal << O::show << true;
        // clang-format on
    }
    void decide()
    {
        QFETCH(QString, switches);
        QFETCH(std::optional<bool>, focused);
        QFETCH(QString, dnd);
        QFETCH(B, banner);
        QFETCH(O, overlay);
        QFETCH(bool, chime);

        const AlertPolicy::Switches s { switches[0] == 'Q', switches[1] == 'U', switches[2] == 'F',
            switches[3] == 'S' };
        const AlertPolicy::DoNotDisturb d { dnd.startsWith("on"), dnd.endsWith("+breakthrough") };
        NotifyFrame frame;
        frame.sender = QStringLiteral("alice");
        frame.focused = focused;
        const Alert alert = AlertPolicy::decide(frame, s, d);
        QCOMPARE(alert.banner, banner);
        QCOMPARE(alert.overlay, overlay);
        QCOMPARE(alert.chime, chime);
        QCOMPARE(alert.heldBack, d.active && !(s.focusFilter && d.breakthroughRecorded));
    }
};

QTEST_GUILESS_MAIN(TestAlertPolicy)
#include "tst_alertpolicy.moc"
