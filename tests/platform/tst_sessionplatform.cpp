// The platform the app picks for itself from the session's variables.
#include "platform/SessionPlatform.h"

#include <QTest>

class TestSessionPlatform : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void choosePlatform_data()
    {
        QTest::addColumn<QStringList>("vars");
        QTest::addColumn<QByteArray>("platform");
        QTest::newRow("X11") << QStringList { "DISPLAY=:1" } << QByteArray();
        QTest::newRow("Wayland with XWayland")
            << QStringList { "DISPLAY=:1", "WAYLAND_DISPLAY=wayland-0" } << QByteArray("xcb");
        QTest::newRow("Wayland session type with XWayland")
            << QStringList { "DISPLAY=:1", "XDG_SESSION_TYPE=wayland" } << QByteArray("xcb");
        QTest::newRow("Wayland without XWayland") << QStringList { "WAYLAND_DISPLAY=wayland-0" } << QByteArray();
        QTest::newRow("the user's choice wins")
            << QStringList { "DISPLAY=:1", "WAYLAND_DISPLAY=wayland-0", "QT_QPA_PLATFORM=wayland" } << QByteArray();
        QTest::newRow("no display") << QStringList {} << QByteArray("offscreen");
        QTest::newRow("no display, the user's choice wins") << QStringList { "QT_QPA_PLATFORM=vnc" } << QByteArray();
    }
    void choosePlatform()
    {
        QFETCH(QStringList, vars);
        QFETCH(QByteArray, platform);
        const auto env = [&vars](const char *name) {
            for (const QString &v : vars) {
                if (v.startsWith(QLatin1String(name) + '='))
                    return v.section('=', 1).toUtf8();
            }
            return QByteArray();
        };
        const SessionPlatform::Choice choice = SessionPlatform::choosePlatform(env);
        QCOMPARE(choice.platform, platform);
        QCOMPARE(choice.reason.isEmpty(), platform.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSessionPlatform)
#include "tst_sessionplatform.moc"
