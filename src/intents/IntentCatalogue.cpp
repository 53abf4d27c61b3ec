#include "intents/IntentCatalogue.h"

#include "cli/CLIRunner.h"
#include "core/Log.h"

#include <QJsonValue>

namespace IntentCatalogue {
namespace {

using Kind = IntentParameter::Kind;
using Args = IntentArguments;
using Run = CLIOutcome<CLIResult>;

QString at(const QString &handle)
{
    return QLatin1Char('@') + handle;
}
QString num(qsizetype n)
{
    return QString::number(n);
}

// Actions that read the tool's answer.
template<typename T>
ToolAnswer whenDecoded(const QString &command, const Run &run, const std::function<ToolAnswer(const T &)> &ok)
{
    const CLIOutcome<T> decoded = CLIRunner::decodeAs<T>(command, run);
    if (!decoded)
        return ToolAnswer::fail(decoded.error());
    return ok(decoded.value());
}

template<typename List, typename Pred> qsizetype countIf(const List &list, Pred pred)
{
    return std::count_if(list.cbegin(), list.cend(), pred);
}

QList<IntentDefinition> build()
{
    QList<IntentDefinition> d;

    d.append({ .name = "SendMessageIntent",
        .title = "发送消息",
        .parameters = { { "handle", "收件人 handle", Kind::handle }, { "text", "消息内容", Kind::text } },
        .summary = "给 {handle} 发送 {text}",
        .confirmation = Confirmation::send,
        .confirmationText
        = [](const Args &a) { return "确认给 " + at(a.handle("handle")) + " 发送：" + a.text("text"); },
        .command = { "send", "{handle}", "{text}", "--json", "--yes" },
        .succeeded =
            [](const Args &a) {
                return ToolAnswer::ok("已发送给 " + at(a.handle("handle")) + "。",
                    "SendMessageIntent: sent to " + at(a.handle("handle")));
            } });

    d.append({ .name = "ReplyIntent",
        .title = "回复好友",
        .parameters = { { "handle", "好友 handle", Kind::handle }, { "text", "回复内容", Kind::text } },
        .summary = "回复 {handle}：{text}",
        .confirmation = Confirmation::send,
        .confirmationText = [](const Args &a) { return "确认回复 " + at(a.handle("handle")) + "：" + a.text("text"); },
        .command = { "send", "{handle}", "{text}", "--json", "--yes" },
        .succeeded =
            [](const Args &a) {
                return ToolAnswer::ok(
                    "已回复 " + at(a.handle("handle")) + "。", "ReplyIntent: replied to " + at(a.handle("handle")));
            } });

    d.append({ .name = "ListInboxIntent",
        .title = "查看收件箱",
        .summary = "查看收件箱",
        .command = { "inbox", "--once", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<InboxResponse>("inbox", r, [](const InboxResponse &inbox) {
                const QString log = "ListInboxIntent: " + num(inbox.items.size()) + " message(s)";
                if (inbox.items.isEmpty())
                    return ToolAnswer::ok("收件箱为空。", log);
                QString dialog = "收件箱有 " + num(inbox.items.size()) + " 条消息。";
                for (const InboxItem &item : inbox.items)
                    dialog += QLatin1Char('\n') + inboxLine(item);
                return ToolAnswer::ok(dialog, log);
            });
        } });

    d.append({ .name = "ClaimIntent",
        .title = "领取分享",
        .parameters = { { "shareId", "分享 ID", Kind::text }, { "code", "访问码", Kind::text } },
        .summary = "领取分享 {shareId}",
        .toolArguments =
            [](const Args &a) {
                return QStringList { "claim", a.text("shareId").trimmed(), a.text("code").trimmed(), "--json" };
            },
        .answer =
            [](const Args &a, const Run &r) {
                return whenDecoded<ClaimResponse>("claim", r, [&](const ClaimResponse &c) {
                    const QString sender = c.from && !c.from->isEmpty() ? at(*c.from) : QStringLiteral("未知发送者");
                    return ToolAnswer::ok("已领取来自 " + sender + " 的分享。",
                        "ClaimIntent: " + a.text("shareId").trimmed() + " ok=" + Log::boolText(c.ok));
                });
            } });

    d.append({ .name = "ConnectIntent",
        .title = "发起好友申请",
        .parameters = { { "handle", "对方 handle", Kind::handle } },
        .summary = "向 @{handle} 发起好友申请",
        .confirmation = Confirmation::continue_,
        .confirmationText = [](const Args &a) { return "确认向 " + at(a.handle("handle")) + " 发起好友申请？"; },
        .gateReason = "发起好友申请",
        .command = { "connect", "{handle}", "--json", "--yes" },
        .answer =
            [](const Args &a, const Run &r) {
                return whenDecoded<ConnectResponse>("connect", r, [&](const ConnectResponse &c) {
                    const QString h = at(a.handle("handle"));
                    const bool pending = c.state == QStringLiteral("pending");
                    return ToolAnswer::ok(
                        pending ? "向 " + h + " 发起好友申请，等待对方通过。" : "向 " + h + " 发起好友申请。",
                        "ConnectIntent: connect " + h + " ok=" + Log::boolText(c.ok));
                });
            } });

    d.append({ .name = "ApproveIntent",
        .title = "通过好友申请",
        .parameters = { { "handle", "申请人 handle", Kind::handle } },
        .summary = "通过 @{handle} 的好友申请",
        .confirmation = Confirmation::continue_,
        .confirmationText =
            [](const Args &a) {
                return "确认通过 " + at(a.handle("handle")) + " 的好友申请？通过后对方可以给你发消息。";
            },
        .gateReason = "批准好友申请",
        .command = { "accept", "{handle}", "--json", "--yes" },
        .succeeded =
            [](const Args &a) {
                const QString h = at(a.handle("handle"));
                return ToolAnswer::ok("已通过 " + h + " 的好友申请。", "ApproveIntent: accepted " + h);
            } });

    d.append({ .name = "RequestsIntent",
        .title = "查看好友申请",
        .summary = "查看好友申请",
        .command = { "requests", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<RequestsResponse>("requests", r, [](const RequestsResponse &res) {
                const qsizetype n = res.requests.size();
                return ToolAnswer::ok(
                    n == 0 ? QStringLiteral("没有待处理的好友申请。") : "有 " + num(n) + " 条待处理好友申请。",
                    "RequestsIntent: " + num(n) + " pending request(s)");
            });
        } });

    d.append({ .name = "FriendsIntent",
        .title = "我的好友",
        .summary = "我的好友",
        .command = { "friends", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<FriendsResponse>("friends", r, [](const FriendsResponse &res) {
                const qsizetype n = res.friends.size();
                return ToolAnswer::ok(n == 0 ? QStringLiteral("你还没有好友。用「发起好友申请」添加一位。")
                                             : "你有 " + num(n) + " 位好友。",
                    "FriendsIntent: " + num(n) + " friend(s)");
            });
        } });

    d.append({ .name = "ShareIntent",
        .title = "创建分享链接",
        .parameters = { { "text", "分享内容", Kind::text }, { "days", "有效天数（1-30，可选）", Kind::days, true } },
        .summary = "创建分享链接：{text}",
        .confirmation = Confirmation::continue_,
        .confirmationText =
            [](const Args &) {
                return QStringLiteral("确认创建公开分享链接？内容会明文暂存在服务器，直到对方领取/过期/你撤销。");
            },
        .toolArguments =
            [](const Args &a) {
                QStringList args { "share", "--text", a.text("text") };
                if (const auto days = a.number("days"))
                    args << "--days" << QString::number(*days);
                args << "--json";
                return args;
            },
        .answer =
            [](const Args &, const Run &r) {
                return whenDecoded<ShareResponse>("share", r, [](const ShareResponse &s) {
                    return ToolAnswer::ok("分享已创建。链接 " + s.url + "，访问码 " + s.code + "（只显示这一次）。",
                        "ShareIntent: created share " + s.id);
                });
            } });

    d.append({ .name = "WhoisIntent",
        .title = "查询用户",
        .parameters = { { "handle", "用户 handle", Kind::handle } },
        .summary = "查询 @{handle}",
        .command = { "whois", "{handle}", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<WhoisResponse>("whois", r, [](const WhoisResponse &w) {
                return ToolAnswer::ok(whoisSentence(w),
                    "WhoisIntent: " + at(w.handle) + " kind=" + w.kind.value_or(QStringLiteral("unknown")));
            });
        } });

    d.append({ .name = "ContactsIntent",
        .title = "联系人状态",
        .summary = "联系人状态",
        .command = { "contacts", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<ContactsResponse>("contacts", r, [](const ContactsResponse &res) {
                const qsizetype n = res.contacts.size();
                const qsizetype online
                    = countIf(res.contacts, [](const ContactEntry &c) { return c.online.value_or(false); });
                return ToolAnswer::ok(n == 0 ? QStringLiteral("还没有联系人。")
                                             : "共 " + num(n) + " 位联系人，" + num(online) + " 位在线。",
                    "ContactsIntent: " + num(n) + " contact(s), " + num(online) + " online");
            });
        } });

    d.append({ .name = "BlockIntent",
        .title = "屏蔽用户",
        .parameters = { { "handle", "用户 handle", Kind::handle } },
        .summary = "屏蔽 @{handle}",
        .confirmation = Confirmation::continue_,
        .confirmationText
        = [](const Args &a) { return "确认屏蔽 " + at(a.handle("handle")) + "？屏蔽后对方无法再给你发消息。"; },
        .gateReason = "屏蔽用户",
        .command = { "block", "{handle}", "--json" },
        .succeeded =
            [](const Args &a) {
                const QString h = at(a.handle("handle"));
                return ToolAnswer::ok("已屏蔽 " + h + "。", "BlockIntent: blocked " + h);
            } });

    d.append({ .name = "UnfriendIntent",
        .title = "解除好友",
        .parameters = { { "handle", "好友 handle", Kind::handle } },
        .summary = "解除与 @{handle} 的好友关系",
        .confirmation = Confirmation::continue_,
        .confirmationText = [](const Args &a) { return "确认解除与 " + at(a.handle("handle")) + " 的好友关系？"; },
        .gateReason = "解除好友",
        .command = { "unfriend", "{handle}", "--json" },
        .succeeded =
            [](const Args &a) {
                const QString h = at(a.handle("handle"));
                return ToolAnswer::ok("已解除与 " + h + " 的好友关系。", "UnfriendIntent: unfriended " + h);
            } });

    d.append({ .name = "AcceptStrangersIntent",
        .title = "陌生人消息开关",
        .parameters = { { "enabled", "接收陌生人消息（on/off）", Kind::toggle } },
        .summary = "设置陌生人消息开关：{enabled}",
        .confirmation = Confirmation::continue_,
        .confirmationText =
            [](const Args &a) {
                return a.toggle("enabled").value_or(false)
                    ? QStringLiteral("确认开启「接收陌生人消息」？非好友可发 1 条破冰消息。")
                    : QStringLiteral("确认关闭「接收陌生人消息」？只有好友能给你发消息。");
            },
        // The tool's own words for the switch.
        .toolArguments =
            [](const Args &a) {
                return QStringList { "settings", "accept-strangers", a.toggle("enabled").value_or(false) ? "on" : "off",
                    "--json" };
            },
        .succeeded =
            [](const Args &a) {
                const bool on = a.toggle("enabled").value_or(false);
                return ToolAnswer::ok(
                    on ? QStringLiteral("已开启接收陌生人消息。") : QStringLiteral("已关闭接收陌生人消息。"),
                    QStringLiteral("AcceptStrangersIntent: set ") + (on ? "on" : "off"));
            } });

    d.append({ .name = "SharesIntent",
        .title = "我的分享",
        .summary = "我的分享",
        .command = { "shares", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<SharesResponse>("shares", r, [](const SharesResponse &res) {
                const qsizetype n = res.shares.size();
                const qsizetype active
                    = countIf(res.shares, [](const ShareEntry &s) { return !s.revoked.value_or(false); });
                return ToolAnswer::ok(
                    n == 0 ? QStringLiteral("还没有分享。") : "共 " + num(n) + " 个分享，" + num(active) + " 个有效。",
                    "SharesIntent: " + num(n) + " share(s)");
            });
        } });

    d.append({ .name = "RevokeShareIntent",
        .title = "撤销分享",
        .parameters = { { "shareId", "分享 ID", Kind::text } },
        .summary = "撤销分享 {shareId}",
        .confirmation = Confirmation::continue_,
        .confirmationText
        = [](const Args &a) { return "确认撤销分享 " + a.text("shareId").trimmed() + "？服务器上的内容会被删除。"; },
        .toolArguments =
            [](const Args &a) {
                return QStringList { "share-revoke", a.text("shareId").trimmed(), "--json" };
            },
        .succeeded =
            [](const Args &a) {
                const QString id = a.text("shareId").trimmed();
                return ToolAnswer::ok("已撤销分享 " + id + "。", "RevokeShareIntent: revoked " + id);
            } });

    d.append({ .name = "PublishCapabilitiesIntent",
        .title = "发布能力信息",
        .parameters = { { "accepts", "接受类型（逗号分隔，如 text,tool_call）", Kind::text },
            { "description", "能力描述", Kind::text }, { "requiresConfirmation", "需要对方确认", Kind::flag, true } },
        .summary = "发布能力：接受 {accepts}",
        .confirmation = Confirmation::continue_,
        .confirmationText =
            [](const Args &a) {
                return "确认发布能力信息？接受类型「" + a.text("accepts") + "」会对其他 agent 公开可见。";
            },
        .toolArguments =
            [](const Args &a) {
                QStringList args { "settings", "capabilities", "--accepts", a.text("accepts"), "--description",
                    a.text("description") };
                if (a.toggle("requiresConfirmation").value_or(false))
                    args << "--requires-confirmation";
                args << "--json";
                return args;
            },
        .succeeded =
            [](const Args &a) {
                return ToolAnswer::ok(
                    "已发布能力信息。", "PublishCapabilitiesIntent: published accepts=" + a.text("accepts"));
            } });

    d.append({ .name = "SendToDeviceIntent",
        .title = "发到我的设备",
        .parameters = { { "device", "设备名", Kind::text }, { "text", "内容", Kind::text } },
        .summary = "发送 {text} 到「{device}」",
        .confirmation = Confirmation::send,
        .confirmationText
        = [](const Args &a) { return "确认把这段内容发到设备「" + a.text("device") + "」：" + a.text("text"); },
        .command = { "send-self", "{device}", "{text}", "--json" },
        .succeeded =
            [](const Args &a) {
                return ToolAnswer::ok("已发送到设备「" + a.text("device") + "」。",
                    "SendToDeviceIntent: sent to device " + a.text("device"));
            } });

    d.append({ .name = "DevicesIntent",
        .title = "我的设备",
        .summary = "我的设备",
        .command = { "devices", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<DevicesResponse>("devices", r, [](const DevicesResponse &res) {
                const qsizetype n = res.devices.size();
                const qsizetype online
                    = countIf(res.devices, [](const DeviceEntry &e) { return e.online.value_or(false); });
                return ToolAnswer::ok(n == 0 ? QStringLiteral("还没有配对的设备。")
                                             : "共 " + num(n) + " 台设备，" + num(online) + " 台在线。",
                    "DevicesIntent: " + num(n) + " device(s), " + num(online) + " online");
            });
        } });

    d.append({ .name = "ForwardIntent",
        .title = "转发到设备",
        .parameters = { { "message", "消息 ID", Kind::text }, { "device", "设备名", Kind::text } },
        .summary = "转发消息 {message} 到「{device}」",
        .confirmation = Confirmation::continue_,
        .confirmationText
        = [](const Args &a) { return "确认把消息 " + a.text("message") + " 转发到设备「" + a.text("device") + "」？"; },
        .command = { "forward", "{message}", "{device}", "--json" },
        .succeeded =
            [](const Args &a) {
                return ToolAnswer::ok("已转发到设备「" + a.text("device") + "」。",
                    "ForwardIntent: forwarded " + a.text("message") + " → " + a.text("device"));
            } });

    d.append({ .name = "DoctorIntent",
        .title = "运行体检",
        .summary = "运行体检",
        .command = { "doctor", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<DoctorReport>("doctor", r, [](const DoctorReport &rep) {
                return ToolAnswer::ok(rep.ok ? QStringLiteral("体检通过：连通性 / 身份 / 监听都正常。")
                                             : QStringLiteral("体检发现问题，建议在终端跑 quillmote doctor 查看详情。"),
                    "DoctorIntent: ok=" + Log::boolText(rep.ok));
            });
        } });

    d.append({ .name = "WhoamiIntent",
        .title = "我是谁",
        .summary = "我是谁",
        .command = { "whoami", "--json" },
        .answer = [](const Args &, const Run &r) {
            return whenDecoded<WhoamiResponse>("whoami", r, [](const WhoamiResponse &w) {
                return ToolAnswer::ok("你是 " + at(w.handle) + "。", "WhoamiIntent: " + at(w.handle));
            });
        } });

    return d;
}

} // namespace

const QList<IntentDefinition> &all()
{
    static const QList<IntentDefinition> definitions = build();
    return definitions;
}

const IntentDefinition *find(const QString &name)
{
    for (const IntentDefinition &d : all()) {
        if (d.name == name || d.methodName() == name || d.commandName() == name)
            return &d;
    }
    return nullptr;
}

QString confirmLabel(Confirmation confirmation)
{
    return confirmation == Confirmation::send ? QStringLiteral("发送") : QStringLiteral("继续");
}

QString gateCancelledDialog()
{
    return QStringLiteral("已取消：未通过 Touch ID 验证。");
}

QString inboxText(const InboxMessage &message)
{
    if (!message.content || message.content->isEmpty())
        return QStringLiteral("（无文本内容）");
    const QJsonValue text = message.content->value(QStringLiteral("text"));
    if (text.isString() && !text.toString().trimmed().isEmpty())
        return text.toString().simplified();
    // Something other than text (parts, tool calls, data): say so rather than dump JSON.
    for (auto it = message.content->constBegin(); it != message.content->constEnd(); ++it) {
        if (it.key() != QLatin1String("text") && !it.value().isNull())
            return QStringLiteral("（结构化消息）");
    }
    return QStringLiteral("（无文本内容）");
}

QString inboxLine(const InboxItem &item)
{
    return at(item.sender.handle) + QStringLiteral("：") + inboxText(item.message);
}

QString whoisSentence(const WhoisResponse &whois)
{
    QString s = at(whois.handle);
    if (whois.kind && !whois.kind->isEmpty())
        s += *whois.kind == QLatin1String("agent")  ? QStringLiteral(" 是一个 agent")
            : *whois.kind == QLatin1String("human") ? QStringLiteral(" 是真人用户")
                                                    : QStringLiteral("（") + *whois.kind + QStringLiteral("）");
    QStringList details;
    if (whois.verification && !whois.verification->isEmpty())
        details << QStringLiteral("验证状态 ") + *whois.verification;
    if (whois.keyFingerprint && !whois.keyFingerprint->isEmpty())
        details << QStringLiteral("密钥指纹 ") + *whois.keyFingerprint;
    if (!details.isEmpty())
        s += QStringLiteral("，") + details.join(QStringLiteral("，"));
    return s + QStringLiteral("。");
}

QStringList AppShortcut::phrasesFor(const QString &appName) const
{
    QStringList out;
    for (QString p : phrases)
        out << p.replace(QStringLiteral("{app}"), appName);
    return out;
}

const QList<AppShortcut> &appShortcuts()
{
    static const QList<AppShortcut> shortcuts {
        { "SendMessageIntent", { "用 {app} 发消息", "Send a message with {app}" }, "发送消息", "mail-send" },
        { "ReplyIntent", { "用 {app} 回复好友", "Reply with {app}" }, "回复好友", "mail-reply-sender" },
        { "ConnectIntent", { "用 {app} 发起好友申请", "Send a friend request with {app}" }, "发起好友申请",
            "contact-new" },
        { "RequestsIntent", { "看 {app} 好友申请", "Show friend requests in {app}" }, "查看好友申请",
            "dialog-question" },
        { "ApproveIntent", { "用 {app} 通过好友申请", "Approve a friend request in {app}" }, "通过好友申请",
            "list-add-user" },
        { "FriendsIntent", { "我的 {app} 好友", "My {app} friends" }, "我的好友", "system-users" },
        { "ContactsIntent", { "查看 {app} 联系人", "Show my {app} contacts" }, "联系人状态", "x-office-address-book" },
        { "ClaimIntent", { "用 {app} 领取分享", "Claim a share in {app}" }, "领取分享", "emblem-shared" },
    };
    return shortcuts;
}

} // namespace IntentCatalogue
