#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QTemporaryDir>

// A private world for one test: a temporary folder that holds QUILLMOTE_HOME (the socket)
// and XDG_CONFIG_HOME (the settings). Every variable it sets is restored when it goes.
class TestEnv
{
public:
    TestEnv();
    ~TestEnv();
    TestEnv(const TestEnv &) = delete;
    TestEnv &operator=(const TestEnv &) = delete;

    QString root() const { return m_dir.path(); }
    QString quillmoteHome() const { return m_dir.path() + QStringLiteral("/qh"); }
    QString socketPath() const { return quillmoteHome() + QStringLiteral("/notifier.sock"); }
    QString configHome() const { return m_dir.path() + QStringLiteral("/config"); }

    // Sets (or, with an empty optional-like null value, unsets) a variable until destruction.
    void set(const char *name, const QByteArray &value);
    void unset(const char *name);

private:
    void remember(const char *name);
    QTemporaryDir m_dir;
    QList<QPair<QByteArray, QByteArray>> m_saved; // name, previous value ("\0" marks unset)
};

// The stand-in command-line tool, and the repository root.
QString sourceDir();
QString simPath();
