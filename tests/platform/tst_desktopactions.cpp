// The actions' desktop side on a private session bus: the polkit gate against an
// authority of our own, the Actions interface through the `action` command, the
// confirmation dialog, and the desktop's colour scheme from a stand-in settings portal.
#include "fakes/FakeAuthGate.h"
#include "fakes/FakeConfirmer.h"
#include "fakes/FakePolkitAuthority.h"
#include "fakes/FakeToolRunner.h"
#include "intents/EntityQueries.h"
#include "intents/IntentsService.h"
#include "platform/ActionsBus.h"
#include "platform/DesktopColorScheme.h"
#include "platform/PolkitAuthGate.h"
#include "platform/QmlConfirmer.h"
#include "support/LogCapture.h"
#include "support/Table.h"
#include "ui/Theme.h"

#include <QDBusConnectionInterface>
#include <QDBusVariant>
#include <QProcess>
#include <QQuickItem>
#include <QSignalSpy>
#include <QTest>

#include <unistd.h>

namespace {

AuthGate::Answer authenticate(PolkitAuthGate &gate, const QString &reason)
{
    std::optional<AuthGate::Answer> answer;
    gate.authenticate(reason, [&](const AuthGate::Answer &a) { answer = a; });
    if (!QTest::qWaitFor([&] { return answer.has_value(); }, 10000))
        return AuthGate::Answer::failed(QStringLiteral("test: no answer"));
    return *answer;
}

} // namespace

// Answers Read the way the portal does: the value in two variants.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public Q_SLOTS:
    QDBusVariant Read(const QString &ns, const QString &key)
    {
        const bool known = ns == QLatin1String("org.freedesktop.appearance") && key == QLatin1String("color-scheme");
        return QDBusVariant(QVariant::fromValue(QDBusVariant(known ? 1u : 0u)));
    }
};

class TestDesktopActions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // With no authority at all (no mode) the gate fails closed.
    void polkitGateAsksForOurActionAndReadsTheAnswer_data()
    {
        Table::load<QString, QString, QString>({ "mode", "kind", "error" });
    }

    void polkitGateAsksForOurActionAndReadsTheAnswer()
    {
        QFETCH(QString, mode);
        QFETCH(QString, kind);
        QFETCH(QString, error);
        using M = FakePolkitAuthority::Mode;
        using K = AuthGate::Answer::Kind;
        const QMap<QString, M> modes { { "authorize", M::authorize }, { "deny", M::deny }, { "dismiss", M::dismiss },
            { "notRegistered", M::notRegistered } };
        const QMap<QString, K> kinds { { "authorized", K::authorized }, { "denied", K::denied },
            { "failed", K::failed } };
        QDBusConnection authorityBus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "authority");
        FakePolkitAuthority authority;
        authority.mode = modes.value(mode);
        QVERIFY(mode.isEmpty() || authority.registerOn(authorityBus));

        PolkitAuthGate gate(QDBusConnection::sessionBus());
        const AuthGate::Answer answer = authenticate(gate, "解除好友");
        QCOMPARE(answer.kind, kinds.value(kind, K(-1)));
        QVERIFY2(error.isEmpty() ? answer.error.isEmpty() : answer.error.startsWith(error), qPrintable(answer.error));
        authorityBus.unregisterService("org.freedesktop.PolicyKit1");
        QDBusConnection::disconnectFromBus("authority");
        if (mode.isEmpty())
            return;
        QCOMPARE(authority.actionId, QStringLiteral("com.quillmote.Notifier.sensitive-action"));
        QCOMPARE(authority.flags, 1u);
        QCOMPARE(authority.subject.kind, QStringLiteral("unix-process"));
        QCOMPARE(authority.subject.details.value("pid").toUInt(), uint(::getpid()));
        QVERIFY(authority.subject.details.value("start-time").toULongLong() > 0);
        QCOMPARE(authority.details.value("quillmote.action"), QStringLiteral("解除好友"));
    }

    // The tool exits 1 with toolError, when set.
    void actionCommandTalksToTheRunningApp_data()
    {
        Table::load<QStringList, QString, bool, int, QString, QString>(
            { "args", "toolError", "accept", "exitCode", "stdoutText", "stderrText" });
    }

    void actionCommandTalksToTheRunningApp()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, toolError);
        QFETCH(bool, accept);
        QFETCH(int, exitCode);
        QFETCH(QString, stdoutText);
        QFETCH(QString, stderrText);

        TestEnv env;
        FakeToolRunner runner;
        if (!toolError.isEmpty())
            runner.failure = CLIResult { 1, {}, toolError + QLatin1Char('\n') };
        FakeConfirmer confirmer;
        confirmer.accept = accept;
        FakeAuthGate gate;
        IntentsService service(confirmer, gate, &runner);
        EntityQueries queries(runner);
        ActionsBus actions(service, queries);
        QDBusConnection bus = QDBusConnection::sessionBus();
        QVERIFY(actions.registerOn(bus));
        QVERIFY(bus.registerService("com.quillmote.Notifier"));

        // The command blocks on its call, so it runs as a process while this thread serves it.
        QProcess cli;
        cli.start(QStringLiteral(QM_ACTION_CLI), QStringList { "action" } + args);
        QVERIFY(QTest::qWaitFor([&] { return cli.state() == QProcess::NotRunning; }, 20000));
        QCOMPARE(QString::fromUtf8(cli.readAllStandardError()), stderrText);
        QCOMPARE(QString::fromUtf8(cli.readAllStandardOutput()), stdoutText);
        QCOMPARE(cli.exitCode(), exitCode);

        bus.unregisterService("com.quillmote.Notifier");
        bus.unregisterObject(ActionsBus::objectPath);
    }

    // input: a button's name, a key, or empty: the window is closed. armed: the dialog has been
    // active long enough to take keys. answer: -1: no answer yet, else 0/1.
    void confirmationDialogAnswersWithItsButtons_data()
    {
        Table::load<QString, bool, int>({ "input", "armed", "answer" });
    }

    void confirmationDialogAnswersWithItsButtons()
    {
        QFETCH(QString, input);
        QFETCH(bool, armed);
        QFETCH(int, answer);
        QmlConfirmer confirmer;
        std::optional<bool> answered;
        // Markup in the caller's text must not hide what is being confirmed.
        const QString text = QStringLiteral("确认发送：hi<font size=\"1\" color=\"white\">rm -rf ~</font>");
        confirmer.ask(text, "继续", [&](bool a) { answered = a; });
        QQuickWindow *window = confirmer.currentWindow();
        QVERIFY(window);
        window->setProperty("armDelay", armed ? 0 : 24 * 3600 * 1000);
        QVERIFY(QTest::qWaitForWindowActive(window));
        QCOMPARE(window->modality(), Qt::ApplicationModal);

        auto *label = window->findChild<QQuickItem *>("questionLabel");
        auto *confirm = window->findChild<QQuickItem *>("confirmButton");
        auto *cancel = window->findChild<QQuickItem *>("cancelButton");
        QVERIFY(label && confirm && cancel);
        QCOMPARE(label->property("text").toString(), text);
        QCOMPARE(label->property("textFormat").toInt(), int(Qt::PlainText));
        QCOMPARE(confirm->property("text").toString(), QStringLiteral("继续"));
        QCOMPARE(cancel->property("text").toString(), QStringLiteral("取消"));
        QVERIFY(cancel->hasActiveFocus());

        if (armed)
            QTRY_VERIFY(window->property("armed").toBool());
        if (input.isEmpty()) {
            window->close();
        } else if (input == "Return" || input == "Space") {
            QTest::keyClick(window, input == "Return" ? Qt::Key_Return : Qt::Key_Space);
        } else {
            QQuickItem *item = input == "confirmButton" ? confirm : cancel;
            QTest::mouseClick(
                window, Qt::LeftButton, {}, item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint());
        }
        if (answer < 0) {
            // Key events are delivered at once: had they counted, the answer would be here.
            QVERIFY(!answered.has_value());
            window->close();
        }
        QTRY_VERIFY(answered.has_value());
        QCOMPARE(*answered, answer == 1);
        QTRY_VERIFY(!confirmer.currentWindow());
    }

    void colourSchemeFollowsThePortal()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("portal"));
        FakePortal portal;
        QVERIFY(bus.registerObject(
            QStringLiteral("/org/freedesktop/portal/desktop"), &portal, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));

        Theme::instance()->setDark(false);
        DesktopColorScheme scheme;
        QTRY_VERIFY(Theme::instance()->dark());

        const auto change = [&bus](const QString &key, uint value) {
            QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
            signal << QStringLiteral("org.freedesktop.appearance") << key << QVariant::fromValue(QDBusVariant(value));
            QVERIFY(bus.send(signal));
        };
        // Another key, an unchanged value, then the change: the windows turn light once.
        QSignalSpy themeChanged(Theme::instance(), &Theme::changed);
        change(QStringLiteral("accent-color"), 2);
        change(QStringLiteral("color-scheme"), 1);
        change(QStringLiteral("color-scheme"), 2);
        QTRY_VERIFY(!Theme::instance()->dark());
        QCOMPARE(themeChanged.count(), 1);
    }
};

QTEST_MAIN(TestDesktopActions)
#include "tst_desktopactions.moc"
