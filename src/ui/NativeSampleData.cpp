#include "ui/NativeSampleData.h"

#include <QtGlobal>

namespace NativeSampleData {

namespace {
// {T<n>} stands for "n minutes before now".
const char *const kTemplate = R"({
  "self": {"handle": "me", "fingerprint": "A1B2C3D4E5F60718293A4B5C6D7E8F90"},
  "handle": "me",
  "contacts": [
    {"handle": "alice", "fingerprint": "0A1B 2C3D 4E5F 6071", "status": "connected"},
    {"handle": "bot-reviewer", "fingerprint": "9F8E 7D6C 5B4A 3928", "status": "connected"},
    {"handle": "carol", "fingerprint": "1122 3344 5566 7788", "status": "connected"}
  ],
  "pending": [{"handle": "dave", "fingerprint": "DDDD EEEE 4444 0000"}],
  "messages": [
    {"id": "s1", "peer": "alice", "direction": "in", "type": "text", "status": "read",
     "createdAt": "{T1500}", "content": {"text": "早上好！昨天的构建日志我看过了。"}},
    {"id": "s2", "peer": "alice", "direction": "out", "type": "text", "status": "read",
     "createdAt": "{T1490}", "content": {"text": "谢谢，今天我再跑一次完整测试。"}},
    {"id": "s3", "peer": "bot-reviewer", "direction": "in", "type": "agent.finding", "status": "delivered",
     "createdAt": "{T45}", "content": {"title": "缓存键没有包含语言区域",
       "parts": [{"kind": "text", "text": "缓存键没有包含语言区域，切换语言后会读到旧页面。"},
                 {"kind": "code", "lang": "ts", "path": "src/cache.ts",
                  "code": "const key = `${route}`;\n// 应为：`${locale}:${route}`"}]}},
    {"id": "s4", "peer": "bot-reviewer", "direction": "out", "type": "text", "status": "delivered",
     "createdAt": "{T40}", "content": {"text": "收到，我来修。"}},
    {"id": "s5", "peer": "carol", "direction": "in", "type": "agent.discussion", "status": "delivered",
     "createdAt": "{T20}", "content": {"text": "发布计划的三个选项",
       "parts": [{"kind": "text", "text": "发布计划的三个选项："},
                 {"kind": "data", "mime": "application/json",
                  "json": {"options": ["周五", "下周一", "下周三"], "preferred": "下周一"}}]}},
    {"id": "s6", "peer": "carol", "direction": "out", "type": "text", "status": "sent",
     "createdAt": "{T15}", "content": {"text": "我投下周一。"}},
    {"id": "s7", "peer": "alice", "direction": "in", "type": "system.notice", "status": "delivered",
     "createdAt": "{T5}", "content": {"text": "alice 已将你加入项目 quillmote-docs。"}}
  ]
})";
} // namespace

QByteArray json(const QDateTime &now)
{
    QString text = QString::fromUtf8(kTemplate);
    qsizetype at = 0;
    while ((at = text.indexOf(QLatin1String("{T"), at)) >= 0) {
        const qsizetype end = text.indexOf(QLatin1Char('}'), at);
        const int minutes = text.mid(at + 2, end - at - 2).toInt();
        const QString stamp = now.toUTC().addSecs(-60LL * minutes).toString(Qt::ISODateWithMs);
        text.replace(at, end - at + 1, stamp);
        at += stamp.size();
    }
    return text.toUtf8();
}

PanelState state(const QDateTime &now)
{
    QString error;
    const auto decoded = PanelState::decode(json(now), &error);
    if (!decoded)
        qFatal("NativeSampleData: sample JSON failed to decode against the real models: %s", qPrintable(error));
    return *decoded;
}

} // namespace NativeSampleData
