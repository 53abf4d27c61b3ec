// The actions' desktop side on a private session bus: the polkit gate against an
// authority of our own, the Actions interface through the `action` command, and the
// confirmation dialog.
#include "fakes/FakeAuthGate.h"
#include "fakes/FakeConfirmer.h"
#include "fakes/FakePolkitAuthority.h"
#include "fakes/FakeToolRunner.h"
#include "intents/EntityQueries.h"
#include "intents/IntentsService.h"
#include "platform/ActionsBus.h"
#include "platform/PolkitAuthGate.h"
#include "platform/QmlConfirmer.h"
#include "support/LogCapture.h"

#include <QDBusConnectionInterface>
#include <QProcess>
#include <QQuickItem>
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

class TestDesktopActions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void polkitGateAsksForOurActionAndReadsTheAnswer_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("error");
        using M = FakePolkitAuthority::Mode;
        using K = AuthGate::Answer::Kind;
        QTest::newRow("authorized") << int(M::authorize) << int(K::authorized) << QString();
        QTest::newRow("not authorized") << int(M::deny) << int(K::denied) << QString();
        QTest::newRow("dismissed") << int(M::dismiss) << int(K::failed) << "dismissed by the user";
        QTest::newRow("policy not installed") << int(M::notRegistered) << int(K::failed)
                                              << "org.freedesktop.PolicyKit1.Error.Failed: Action "
                                                 "com.quillmote.Notifier.sensitive-action is not registered";
    }

    void polkitGateAsksForOurActionAndReadsTheAnswer()
    {
        QFETCH(int, mode);
        QFETCH(int, kind);
        QFETCH(QString, error);
        QDBusConnection authorityBus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "authority");
        FakePolkitAuthority authority;
        authority.mode = FakePolkitAuthority::Mode(mode);
        QVERIFY(authority.registerOn(authorityBus));

        PolkitAuthGate gate(QDBusConnection::sessionBus());
        const AuthGate::Answer answer = authenticate(gate, "解除好友");
        QCOMPARE(int(answer.kind), kind);
        QCOMPARE(answer.error, error);
        QCOMPARE(authority.actionId, QStringLiteral("com.quillmote.Notifier.sensitive-action"));
        QCOMPARE(authority.flags, 1u);
        QCOMPARE(authority.subject.kind, QStringLiteral("unix-process"));
        QCOMPARE(authority.subject.details.value("pid").toUInt(), uint(::getpid()));
        QVERIFY(authority.subject.details.value("start-time").toULongLong() > 0);
        QCOMPARE(authority.details.value("quillmote.action"), QStringLiteral("解除好友"));

        authorityBus.unregisterService("org.freedesktop.PolicyKit1");
        QDBusConnection::disconnectFromBus("authority");
    }

    void noAuthorityFailsClosed()
    {
        PolkitAuthGate gate(QDBusConnection::sessionBus());
        const AuthGate::Answer answer = authenticate(gate, "屏蔽用户");
        QCOMPARE(answer.kind, AuthGate::Answer::Kind::failed);
        QVERIFY2(answer.error.startsWith("org.freedesktop.DBus.Error.ServiceUnknown"), qPrintable(answer.error));
    }

    void actionCommandTalksToTheRunningApp_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("toolError"); // the tool exits 1 with this, when set
        QTest::addColumn<bool>("accept");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("stdoutText");
        QTest::addColumn<QString>("stderrText");

        const auto row = [](const char *name, const QStringList &args, const char *toolError, bool accept, int exitCode,
                             const char *out, const char *err) {
            QTest::newRow(name) << args << QString(toolError) << accept << exitCode << QString(out) << QString(err);
        };
        row("lookup", { "whoami" }, "", true, 0, "你是 @me。\n", "");
        row("declined", { "send-message", "alice", "hi" }, "", false, 2, "", "已取消。\n");
        row("tool failure", { "friends" }, "not logged in", true, 1, "", "not logged in\n");
        row("missing argument", { "reply", "alice" }, "", true, 64, "",
            "缺少参数「回复内容」。\nUsage: quillmote-notifier action reply <handle> <text>\n");
        row("complete friends", { "--complete", "reply", "0", "AL" }, "", true, 0, "alice\n", "");
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

    void confirmationDialogAnswersWithItsButtons_data()
    {
        QTest::addColumn<QString>("input"); // a button's name, a key, or empty: the window is closed
        QTest::addColumn<bool>("armed"); // the dialog has been active long enough to take keys
        QTest::addColumn<int>("answer"); // -1: no answer yet, else 0/1
        QTest::newRow("confirm") << "confirmButton" << false << 1;
        QTest::newRow("cancel") << "cancelButton" << false << 0;
        QTest::newRow("closed") << "" << false << 0;
        // Keys meant for another window, arriving as the dialog pops up, do nothing.
        QTest::newRow("stray Enter") << "Return" << false << -1;
        QTest::newRow("stray Space") << "Space" << false << -1;
        // Later, Enter and Space press the focused button, which is 取消.
        QTest::newRow("Enter") << "Return" << true << 0;
        QTest::newRow("Space") << "Space" << true << 0;
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
};

QTEST_MAIN(TestDesktopActions)
#include "tst_desktopactions.moc"
