// The do-not-disturb filter: what it records, and that it stays inert while switched off.
#include "core/SettingsStore.h"
#include "intents/QuillmoteFocusFilter.h"
#include "support/LogCapture.h"
#include "support/TestEnv.h"

#include <QTest>

class TestFocus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void recordsOnlyWhileTheFeatureIsOn()
    {
        TestEnv env;
        LogCapture log;
        QCOMPARE(QuillmoteFocusFilter::perform(true), std::nullopt);
        QCOMPARE(QuillmoteFocusFilter::perform(false), std::nullopt);
        const QString inert = "QuillmoteFocusFilter: focusFilterEnabled=false → inert (no effect).";
        QCOMPARE(log.count(inert), 2);
        QCOMPARE(log.find(inert).level, QStringLiteral("debug"));

        SettingsStore::setFlag(SettingsStore::Key::focusFilter, true);
        QCOMPARE(QuillmoteFocusFilter::perform(true), std::optional<bool>(true));
        QVERIFY(log.contains("QuillmoteFocusFilter: enabled, recorded allowBreakthrough=true"));
        QCOMPARE(QuillmoteFocusFilter::perform(false), std::optional<bool>(false));
        // The record lives with the watcher, not in the settings file.
        QVERIFY(!SettingsStore::value("quillmote.focusFilter.allowBreakthrough"));
    }
};

QTEST_GUILESS_MAIN(TestFocus)
#include "tst_focus.moc"
