// How a message alerts for every combination that matters: the quiet rule, urgency
// mapping, do-not-disturb with and without a recorded breakthrough, and the chime.
#include "alerts/AlertPolicy.h"
#include "support/Table.h"

#include <QTest>

class TestAlertPolicy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Switches: quiet when focused, urgency mapping, focus filter, sound; "qufs", upper case
    // for on. Do-not-disturb: "off", "on", "on+breakthrough" (a breakthrough recorded).
    void decide_data()
    {
        Table::load<QString, QString, QString, QString, QString, bool>(
            { "switches", "focused", "dnd", "banner", "overlay", "chime" });
    }
    void decide()
    {
        QFETCH(QString, switches);
        QFETCH(QString, focused);
        QFETCH(QString, dnd);
        QFETCH(QString, banner);
        QFETCH(QString, overlay);
        QFETCH(bool, chime);

        const AlertPolicy::Switches s { switches[0] == 'Q', switches[1] == 'U', switches[2] == 'F',
            switches[3] == 'S' };
        const AlertPolicy::DoNotDisturb d { dnd.startsWith("on"), dnd.endsWith("+breakthrough") };
        NotifyFrame frame;
        frame.sender = QStringLiteral("alice");
        if (focused != u"absent")
            frame.focused = focused == u"yes";
        const Alert alert = AlertPolicy::decide(frame, s, d);
        QCOMPARE(int(alert.banner), QStringList({ "none", "low", "normal", "critical" }).indexOf(banner));
        QCOMPARE(int(alert.overlay), QStringList({ "show", "pulse" }).indexOf(overlay));
        QCOMPARE(alert.chime, chime);
        QCOMPARE(alert.heldBack, d.active && !(s.focusFilter && d.breakthroughRecorded));
    }
};

QTEST_GUILESS_MAIN(TestAlertPolicy)
#include "tst_alertpolicy.moc"
