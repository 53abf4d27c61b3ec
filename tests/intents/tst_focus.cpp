// The do-not-disturb filter's record, and what a banner may do with it.
#include "core/SettingsStore.h"
#include "intents/FocusPolicy.h"
#include "intents/QuillmoteFocusFilter.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QTest>

class TestFocus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void featureOffLeavesTheRecordAlone()
    {
        TestEnv env;
        SettingsStore::setValue(QuillmoteFocusFilter::recordedKey, true);
        LogCapture log;
        QuillmoteFocusFilter::perform(false);
        QuillmoteFocusFilter::perform(false);
        QCOMPARE(SettingsStore::value(QuillmoteFocusFilter::recordedKey)->toBool(), true);
        const QString inert = "QuillmoteFocusFilter: focusFilterEnabled=false → inert (no effect).";
        QCOMPARE(log.count(inert), 2);
        QCOMPARE(log.find(inert).level, QStringLiteral("debug"));
    }

    void recordCountsOnlyWhileTheFeatureIsOn()
    {
        TestEnv env;
        SettingsStore::setValue(QuillmoteFocusFilter::recordedKey, true);
        QVERIFY(!FocusPolicy::recordedBreakthrough());
        SettingsStore::setFlag(SettingsStore::Key::focusFilter, true);
        QVERIFY(FocusPolicy::recordedBreakthrough());
    }
};

QTEST_GUILESS_MAIN(TestFocus)
#include "tst_focus.moc"
