#include "support/TestEnv.h"

namespace {
const QByteArray kUnset("\0unset", 6);
}

TestEnv::TestEnv()
    // Short, so the socket path stays far below the kernel's limit.
    : m_dir(QStringLiteral("/tmp/qmt-XXXXXX"))
{
    set("QUILLMOTE_HOME", quillmoteHome().toUtf8());
    set("XDG_CONFIG_HOME", configHome().toUtf8());
}

TestEnv::~TestEnv()
{
    for (auto it = m_saved.crbegin(); it != m_saved.crend(); ++it) {
        if (it->second == kUnset)
            qunsetenv(it->first.constData());
        else
            qputenv(it->first.constData(), it->second);
    }
}

void TestEnv::remember(const char *name)
{
    m_saved.append({ QByteArray(name), qEnvironmentVariableIsSet(name) ? qgetenv(name) : kUnset });
}

void TestEnv::set(const char *name, const QByteArray &value)
{
    remember(name);
    qputenv(name, value);
}

void TestEnv::unset(const char *name)
{
    remember(name);
    qunsetenv(name);
}

QString sourceDir()
{
    return QStringLiteral(QM_SOURCE_DIR);
}
QString simPath()
{
    return sourceDir() + QStringLiteral("/tools/quillmote-sim");
}
