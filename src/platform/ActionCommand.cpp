#include "platform/ActionCommand.h"

#include "intents/IntentCatalogue.h"
#include "platform/ActionsBus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>

#include <cstdio>
#include <limits>
#include <memory>

namespace {

constexpr const char *kService = "com.quillmote.Notifier";
// The user may take their time over the confirmation and the authentication prompt.
constexpr int kNoTimeout = std::numeric_limits<int>::max();
constexpr int kCompletionTimeoutMs = 3000;

void out(const QString &text)
{
    std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stdout);
}
void err(const QString &text)
{
    std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stderr);
}

QString placeholder(const IntentParameter &p)
{
    QString name = p.name;
    if (p.kind == IntentParameter::Kind::toggle || p.kind == IntentParameter::Kind::flag)
        name += QStringLiteral("=on|off");
    return p.optional ? QLatin1Char('[') + name + QLatin1Char(']') : QLatin1Char('<') + name + QLatin1Char('>');
}

QString usageLine(const IntentDefinition &d)
{
    QStringList words { d.commandName() };
    for (const IntentParameter &p : d.parameters)
        words << placeholder(p);
    return words.join(QLatin1Char(' '));
}

void printHelp()
{
    out(QStringLiteral(
        "Usage: quillmote-notifier action NAME [ARGS…]\n"
        "Runs one action in the running Quillmote Notifier (started if needed) and prints its answer.\n"
        "Exit status: 0 done, 1 failed (the reason on stderr), 2 cancelled, 64 wrong usage.\n\nActions:"));
    for (const IntentDefinition &d : IntentCatalogue::all()) {
        QStringList params;
        for (const IntentParameter &p : d.parameters)
            params << p.name + QStringLiteral("：") + p.title;
        out(QStringLiteral("  ") + usageLine(d));
        out(QStringLiteral("      ") + d.title
            + (params.isEmpty() ? QString() : QStringLiteral(" — ") + params.join(QStringLiteral("；"))));
    }
}

QDBusMessage callApp(const QString &method, const QList<QVariant> &args, int timeoutMs)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(kService),
        QString::fromLatin1(ActionsBus::objectPath), QString::fromLatin1(ActionsBus::interfaceName), method);
    call.setArguments(args);
    return QDBusConnection::sessionBus().call(call, QDBus::Block, timeoutMs);
}

// Where the values of a parameter come from when completing it.
QString completionSource(const IntentDefinition &d, const IntentParameter &p)
{
    switch (p.kind) {
    case IntentParameter::Kind::toggle:
    case IntentParameter::Kind::flag:
        return QStringLiteral("on off");
    case IntentParameter::Kind::handle:
        if (d.name == QLatin1String("ApproveIntent") || d.name == QLatin1String("ConnectIntent"))
            return QStringLiteral("ListFriendRequests");
        if (d.name == QLatin1String("WhoisIntent"))
            return {};
        return QStringLiteral("ListFriends");
    case IntentParameter::Kind::text:
        if (d.name == QLatin1String("ForwardIntent") && p.name == QLatin1String("message"))
            return QStringLiteral("ListInboxMessages");
        return {};
    case IntentParameter::Kind::days:
        return {};
    }
    return {};
}

int complete(const QStringList &args)
{
    const IntentDefinition *d = IntentCatalogue::find(args.value(0));
    bool ok = false;
    const int index = args.value(1).toInt(&ok);
    if (!d || !ok || index < 0 || index >= d->parameters.size())
        return ActionCommand::ok;
    const QString word = args.value(2);
    const QString source = completionSource(*d, d->parameters[index]);
    if (source.isEmpty())
        return ActionCommand::ok;
    if (!source.startsWith(QLatin1String("List"))) {
        for (const QString &v : source.split(QLatin1Char(' ')))
            if (v.startsWith(word))
                out(v);
        return ActionCommand::ok;
    }
    const QDBusMessage reply = callApp(source, { word }, kCompletionTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return ActionCommand::failed;
    const QList<ActionsBusEntity> found = qdbus_cast<QList<ActionsBusEntity>>(reply.arguments().value(0));
    for (const ActionsBusEntity &e : found)
        out(e.id);
    return ActionCommand::ok;
}

std::optional<QVariant> convert(const IntentParameter &p, const QString &word, QString *problem)
{
    switch (p.kind) {
    case IntentParameter::Kind::days: {
        bool ok = false;
        const int n = word.toInt(&ok);
        if (!ok)
            *problem = QStringLiteral("参数「%1」应为整数。").arg(p.title);
        return ok ? std::optional<QVariant>(n) : std::nullopt;
    }
    case IntentParameter::Kind::toggle:
    case IntentParameter::Kind::flag: {
        const QString w = word.toLower();
        if (w == QLatin1String("on") || w == QLatin1String("true") || w == QLatin1String("1")
            || w == QLatin1String("yes"))
            return QVariant(true);
        if (w == QLatin1String("off") || w == QLatin1String("false") || w == QLatin1String("0")
            || w == QLatin1String("no"))
            return QVariant(false);
        *problem = QStringLiteral("参数「%1」应为 on 或 off。").arg(p.title);
        return std::nullopt;
    }
    default:
        return QVariant(word);
    }
}

int perform(const IntentDefinition &d, const QStringList &words)
{
    if (words.size() > d.parameters.size()) {
        err(QStringLiteral("quillmote-notifier: too many arguments\nUsage: quillmote-notifier action ") + usageLine(d));
        return ActionCommand::usage;
    }
    QList<QVariant> args;
    for (qsizetype i = 0; i < d.parameters.size(); ++i) {
        const IntentParameter &p = d.parameters[i];
        if (i >= words.size()) {
            if (!p.optional) {
                err(QStringLiteral("缺少参数「%1」。\nUsage: quillmote-notifier action ").arg(p.title) + usageLine(d));
                return ActionCommand::usage;
            }
            args << (p.kind == IntentParameter::Kind::days  ? QVariant(0)
                    : p.kind == IntentParameter::Kind::flag ? QVariant(false)
                                                            : QVariant(QString()));
            continue;
        }
        QString problem;
        const std::optional<QVariant> v = convert(p, words[i], &problem);
        if (!v) {
            err(problem);
            return ActionCommand::usage;
        }
        args << *v;
    }

    const QDBusMessage reply = callApp(d.methodName(), args, kNoTimeout);
    if (reply.type() == QDBusMessage::ReplyMessage) {
        out(reply.arguments().value(0).toString());
        return ActionCommand::ok;
    }
    if (reply.errorName() == QLatin1String(ActionsBus::cancelledError)) {
        err(reply.errorMessage());
        return ActionCommand::cancelled;
    }
    if (reply.errorName() == QLatin1String(ActionsBus::unrecoverableError)) {
        err(reply.errorMessage());
        return ActionCommand::failed;
    }
    err(QStringLiteral("quillmote-notifier: cannot reach the app (%1: %2)")
            .arg(reply.errorName(), reply.errorMessage()));
    return ActionCommand::failed;
}

} // namespace

int runActionCommand(const QStringList &args)
{
    std::unique_ptr<QCoreApplication> app;
    static int argc = 1;
    static char name[] = "quillmote-notifier";
    static char *argv[] = { name, nullptr };
    if (!QCoreApplication::instance())
        app = std::make_unique<QCoreApplication>(argc, argv);
    qDBusRegisterMetaType<ActionsBusEntity>();
    qDBusRegisterMetaType<QList<ActionsBusEntity>>();

    const QString first = args.value(0);
    if (first == QLatin1String("--help") || first == QLatin1String("-h")) {
        printHelp();
        return ActionCommand::ok;
    }
    if (first.isEmpty()) {
        err(QStringLiteral(
            "Usage: quillmote-notifier action NAME [ARGS…]   (quillmote-notifier action --help lists them)"));
        return ActionCommand::usage;
    }
    if (first == QLatin1String("--names")) {
        for (const IntentDefinition &d : IntentCatalogue::all())
            out(d.commandName());
        return ActionCommand::ok;
    }
    if (first == QLatin1String("--complete"))
        return complete(args.mid(1));

    const IntentDefinition *d = IntentCatalogue::find(first);
    if (!d) {
        err(QStringLiteral("quillmote-notifier: no action named %1 (quillmote-notifier action --help lists them)")
                .arg(first));
        return ActionCommand::usage;
    }
    return perform(*d, args.mid(1));
}
