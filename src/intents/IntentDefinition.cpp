#include "intents/IntentDefinition.h"

QString IntentArguments::text(const QString &name) const
{
    return m_values.value(name).toString();
}

QString IntentArguments::handle(const QString &name) const
{
    // People type handles the way they see them, with the "@".
    QString h = text(name).trimmed();
    while (h.startsWith(QLatin1Char('@')))
        h.remove(0, 1);
    return h;
}

bool IntentArguments::has(const QString &name) const
{
    const QVariant v = m_values.value(name);
    return v.isValid() && !v.isNull() && !(v.typeId() == QMetaType::QString && v.toString().trimmed().isEmpty());
}

std::optional<bool> IntentArguments::toggle(const QString &name) const
{
    const QVariant v = m_values.value(name);
    if (v.typeId() == QMetaType::Bool)
        return v.toBool();
    const QString s = v.toString().trimmed().toLower();
    if (s == QLatin1String("on") || s == QLatin1String("true") || s == QLatin1String("1") || s == QLatin1String("yes"))
        return true;
    if (s == QLatin1String("off") || s == QLatin1String("false") || s == QLatin1String("0") || s == QLatin1String("no"))
        return false;
    return std::nullopt;
}

std::optional<qlonglong> IntentArguments::number(const QString &name) const
{
    if (!has(name))
        return std::nullopt;
    bool ok = false;
    const qlonglong n = m_values.value(name).toString().trimmed().toLongLong(&ok);
    return ok ? std::optional<qlonglong>(n) : std::nullopt;
}

QString IntentDefinition::methodName() const
{
    QString m = name;
    if (m.endsWith(QLatin1String("Intent")))
        m.chop(6);
    return m;
}

QString IntentDefinition::commandName() const
{
    const QString m = methodName();
    QString out;
    for (qsizetype i = 0; i < m.size(); ++i) {
        if (m[i].isUpper() && i > 0)
            out += QLatin1Char('-');
        out += m[i].toLower();
    }
    return out;
}

std::optional<QString> IntentDefinition::validate(const IntentArguments &args) const
{
    for (const IntentParameter &p : parameters) {
        const bool present = args.has(p.name);
        switch (p.kind) {
        case IntentParameter::Kind::handle:
            if (args.handle(p.name).isEmpty() && !p.optional)
                return QStringLiteral("缺少参数「%1」。").arg(p.title);
            break;
        case IntentParameter::Kind::text:
            if (!present && !p.optional)
                return QStringLiteral("缺少参数「%1」。").arg(p.title);
            break;
        case IntentParameter::Kind::days:
            if (present && !args.number(p.name))
                return QStringLiteral("参数「%1」应为整数。").arg(p.title);
            break;
        case IntentParameter::Kind::toggle:
            if (!present && !p.optional)
                return QStringLiteral("缺少参数「%1」。").arg(p.title);
            if (present && !args.toggle(p.name))
                return QStringLiteral("参数「%1」应为 on 或 off。").arg(p.title);
            break;
        case IntentParameter::Kind::flag:
            if (present && !args.toggle(p.name))
                return QStringLiteral("参数「%1」应为 on 或 off。").arg(p.title);
            break;
        }
    }
    return std::nullopt;
}

QString IntentDefinition::valueOf(const IntentParameter &p, const IntentArguments &args) const
{
    switch (p.kind) {
    case IntentParameter::Kind::handle:
        return args.handle(p.name);
    case IntentParameter::Kind::toggle:
    case IntentParameter::Kind::flag:
        if (const auto t = args.toggle(p.name))
            return *t ? QStringLiteral("on") : QStringLiteral("off");
        return QString();
    default:
        return args.text(p.name);
    }
}

QString IntentDefinition::summaryFor(const IntentArguments &args) const
{
    QString s = summary;
    for (const IntentParameter &p : parameters)
        s.replace(QLatin1Char('{') + p.name + QLatin1Char('}'), valueOf(p, args));
    return s;
}

QStringList IntentDefinition::toolArgumentsFor(const IntentArguments &args) const
{
    if (toolArguments)
        return toolArguments(args);
    QStringList out = command;
    for (QString &element : out) {
        for (const IntentParameter &p : parameters) {
            if (element == QLatin1Char('{') + p.name + QLatin1Char('}')) {
                element = valueOf(p, args);
                break;
            }
        }
    }
    return out;
}

ToolAnswer IntentDefinition::answerFor(const IntentArguments &args, const CLIOutcome<CLIResult> &run) const
{
    if (answer)
        return answer(args, run);
    if (!run)
        return ToolAnswer::fail(run.error());
    if (run->exitCode != 0)
        return ToolAnswer::fail(CLIError::nonZeroExit(run->exitCode, run->standardError));
    return succeeded(args);
}
