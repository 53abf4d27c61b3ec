#include "cli/CLIError.h"

#include "core/Characters.h"

CLIError CLIError::binaryNotFound(const QStringList &tried)
{
    CLIError e(Kind::binaryNotFound);
    e.m_tried = tried;
    return e;
}

CLIError CLIError::nonZeroExit(int exitCode, const QString &standardError)
{
    CLIError e(Kind::nonZeroExit);
    e.m_exitCode = exitCode;
    e.m_text = standardError;
    return e;
}

CLIError CLIError::malformedOutput(const QString &standardOutput)
{
    CLIError e(Kind::malformedOutput);
    e.m_text = standardOutput;
    return e;
}

CLIError CLIError::spawnFailed(const QString &message)
{
    CLIError e(Kind::spawnFailed);
    e.m_text = message;
    return e;
}

QString CLIError::description() const
{
    switch (m_kind) {
    case Kind::binaryNotFound:
        return QStringLiteral("找不到 quillmote CLI（已尝试：") + m_tried.join(QStringLiteral(", "))
            + QStringLiteral("）。请确认已安装或设置 QUILLMOTE_BIN。");
    case Kind::nonZeroExit: {
        const QString trimmed = m_text.trimmed();
        if (!trimmed.isEmpty())
            return trimmed;
        return QStringLiteral("quillmote 退出码 ") + QString::number(m_exitCode) + QStringLiteral("。");
    }
    case Kind::malformedOutput:
        // Characters as a reader counts them: a cluster such as an emoji with a modifier,
        // or a carriage return with its line feed, is one.
        return QStringLiteral("无法解析 quillmote 输出：") + Characters::first(m_text, 200);
    case Kind::spawnFailed:
        return QStringLiteral("无法启动 quillmote：") + m_text;
    }
    return {};
}
