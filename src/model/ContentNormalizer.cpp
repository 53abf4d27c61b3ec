#include "model/ContentNormalizer.h"

#include <QStringList>

std::optional<MessageTypeFamily::Value> MessageTypeFamily::of(QStringView type)
{
    const QString lower = type.toString().toLower();
    if (lower.startsWith(QLatin1String("agent.finding")))
        return finding;
    if (lower.startsWith(QLatin1String("agent.task")))
        return task;
    if (lower.startsWith(QLatin1String("artifact.")))
        return artifact;
    if (lower.startsWith(QLatin1String("agent.discussion")))
        return discussion;
    return std::nullopt;
}

namespace ContentNormalizer {
namespace {

std::optional<QString> stringAt(const JSONValue &o, QStringView key)
{
    if (const QString *s = o.stringAt(key))
        return *s;
    return std::nullopt;
}

std::optional<JSONValue> valueAt(const JSONValue &o, QStringView key)
{
    if (const JSONValue *v = o.find(key))
        return *v;
    return std::nullopt;
}

// A number as it is, or a string that parses whole as a decimal number.
std::optional<double> sizeAt(const JSONValue &o, QStringView key)
{
    const JSONValue *v = o.find(key);
    if (!v)
        return std::nullopt;
    if (v->isNumber())
        return v->toNumber();
    if (v->isString()) {
        bool ok = false;
        const QString &s = v->toString();
        // toDouble() skips surrounding blanks; a size with blanks around it is no size.
        if (s.isEmpty() || s.front().isSpace() || s.back().isSpace())
            return std::nullopt;
        const double d = s.toDouble(&ok);
        if (ok)
            return d;
    }
    return std::nullopt;
}

std::optional<ContentPart> part(const JSONValue &v)
{
    const QString *kindText = v.stringAt(u"kind");
    if (!kindText)
        return std::nullopt;
    const QString &kind = *kindText;
    if (kind == QLatin1String("text"))
        return TextPart { stringAt(v, u"text").value_or(QString()) };
    if (kind == QLatin1String("code"))
        return CodePart { stringAt(v, u"code").value_or(QString()), stringAt(v, u"lang"), stringAt(v, u"path") };
    if (kind == QLatin1String("file"))
        return FilePart { stringAt(v, u"name").value_or(QStringLiteral("file")), stringAt(v, u"mime"),
            sizeAt(v, u"bytes"), stringAt(v, u"data") };
    if (kind == QLatin1String("image"))
        return ImagePart { stringAt(v, u"mime"), sizeAt(v, u"bytes"), stringAt(v, u"data"), stringAt(v, u"alt") };
    if (kind == QLatin1String("data"))
        return DataPart { valueAt(v, u"json").value_or(JSONValue::null()), stringAt(v, u"mime") };
    if (kind == QLatin1String("tool_call"))
        return ToolCallPart { stringAt(v, u"name").value_or(QString()), valueAt(v, u"args"), stringAt(v, u"call_id") };
    if (kind == QLatin1String("tool_result")) {
        const JSONValue *ok = v.find(u"ok");
        return ToolResultPart { ok && ok->isBool() && ok->toBool(), stringAt(v, u"call_id"), valueAt(v, u"result"),
            stringAt(v, u"error") };
    }
    return UnknownPart { kind, v };
}

// The first value under one of keys that is a non-empty string.
std::optional<QString> firstNonEmpty(const JSONValue &content, std::initializer_list<QStringView> keys)
{
    for (const QStringView key : keys) {
        const QString *s = content.stringAt(key);
        if (s && !s->isEmpty())
            return *s;
    }
    return std::nullopt;
}

template<class... Ts> struct Overloaded : Ts... {
    using Ts::operator()...;
};

std::optional<QString> partPreview(const ContentPart &p)
{
    return std::visit(Overloaded {
                          [](const TextPart &t) -> std::optional<QString> {
                              return t.text.isEmpty() ? std::nullopt : std::optional<QString>(t.text);
                          },
                          [](const CodePart &c) -> std::optional<QString> {
                              return QStringLiteral("‹› ") + c.lang.value_or(QStringLiteral("code"));
                          },
                          [](const FilePart &f) -> std::optional<QString> { return QStringLiteral("▣ ") + f.name; },
                          [](const ImagePart &i) -> std::optional<QString> {
                              return QStringLiteral("▢ ") + i.alt.value_or(QStringLiteral("image"));
                          },
                          [](const ToolCallPart &t) -> std::optional<QString> {
                              return QStringLiteral("⚙ ") + (t.name.isEmpty() ? QStringLiteral("tool call") : t.name);
                          },
                          [](const ToolResultPart &r) -> std::optional<QString> {
                              return r.ok ? QStringLiteral("✓ tool result") : QStringLiteral("✕ tool result");
                          },
                          [](const DataPart &) -> std::optional<QString> { return std::nullopt; },
                          [](const UnknownPart &) -> std::optional<QString> { return std::nullopt; },
                      },
        p);
}

} // namespace

QList<ContentPart> parts(const JSONValue &content)
{
    if (const JSONValue *list = content.find(u"parts"); list && list->isArray()) {
        QList<ContentPart> out;
        for (const JSONValue &element : list->elements()) {
            if (auto p = part(element))
                out.append(std::move(*p));
        }
        if (!out.isEmpty())
            return out;
    }
    if (const QString *text = content.stringAt(u"text"))
        return { TextPart { *text } };
    return { DataPart { content, std::nullopt } };
}

QString preview(const QString &type, const JSONValue &content)
{
    if (const auto family = MessageTypeFamily::of(type)) {
        switch (*family) {
        case MessageTypeFamily::finding:
            return QStringLiteral("⚠ ")
                + firstNonEmpty(content, { u"title", u"name" }).value_or(QStringLiteral("Finding"));
        case MessageTypeFamily::task:
            return QStringLiteral("☑ ")
                + firstNonEmpty(content, { u"name", u"task", u"title" }).value_or(QStringLiteral("Task"));
        case MessageTypeFamily::artifact:
            return QStringLiteral("▣ ")
                + firstNonEmpty(content, { u"name", u"filename", u"file" }).value_or(QStringLiteral("Artifact"));
        case MessageTypeFamily::discussion:
            return firstNonEmpty(content, { u"text", u"message", u"content" }).value_or(QStringLiteral("Discussion"));
        }
    }
    for (const ContentPart &p : parts(content)) {
        if (auto text = partPreview(p))
            return *text;
    }
    return QStringLiteral("{ } structured data");
}

QString searchText(const JSONValue &content)
{
    QStringList pieces;
    const auto add = [&](const std::optional<QString> &s) {
        if (s)
            pieces.append(*s);
    };
    for (const ContentPart &p : parts(content)) {
        std::visit(Overloaded {
                       [&](const TextPart &t) { pieces.append(t.text); },
                       [&](const CodePart &c) {
                           pieces.append(c.code);
                           add(c.lang);
                           add(c.path);
                       },
                       [&](const FilePart &f) {
                           pieces.append(f.name);
                           add(f.mime);
                       },
                       [&](const ImagePart &i) { add(i.alt); },
                       [&](const DataPart &d) { pieces.append(d.json.pretty()); },
                       [&](const ToolCallPart &t) {
                           pieces.append(t.name);
                           if (t.args)
                               pieces.append(t.args->pretty());
                       },
                       [&](const ToolResultPart &r) {
                           if (r.result)
                               pieces.append(r.result->pretty());
                           add(r.error);
                       },
                       [&](const UnknownPart &u) {
                           pieces.append(u.kind);
                           pieces.append(u.raw.pretty());
                       },
                   },
            p);
    }
    return pieces.join(u' ').toLower();
}

QVariantMap toVariantMap(const ContentPart &part)
{
    QVariantMap m;
    const auto put = [&](const char *key, const auto &value) {
        if constexpr (std::is_same_v<std::decay_t<decltype(value)>,
                          std::optional<
                              QString>> || std::is_same_v<std::decay_t<decltype(value)>, std::optional<double>>) {
            if (value)
                m.insert(QLatin1String(key), *value);
        } else if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::optional<JSONValue>>) {
            if (value)
                m.insert(QLatin1String(key), value->pretty());
        } else if constexpr (std::is_same_v<std::decay_t<decltype(value)>, JSONValue>) {
            m.insert(QLatin1String(key), value.pretty());
        } else {
            m.insert(QLatin1String(key), value);
        }
    };
    std::visit(Overloaded {
                   [&](const TextPart &t) {
                       put("kind", QStringLiteral("text"));
                       put("text", t.text);
                   },
                   [&](const CodePart &c) {
                       put("kind", QStringLiteral("code"));
                       put("code", c.code);
                       put("lang", c.lang);
                       put("path", c.path);
                   },
                   [&](const FilePart &f) {
                       put("kind", QStringLiteral("file"));
                       put("name", f.name);
                       put("mime", f.mime);
                       put("bytes", f.bytes);
                       put("dataBase64", f.dataBase64);
                   },
                   [&](const ImagePart &i) {
                       put("kind", QStringLiteral("image"));
                       put("mime", i.mime);
                       put("bytes", i.bytes);
                       put("dataBase64", i.dataBase64);
                       put("alt", i.alt);
                   },
                   [&](const DataPart &d) {
                       put("kind", QStringLiteral("data"));
                       put("json", d.json);
                       put("mime", d.mime);
                   },
                   [&](const ToolCallPart &t) {
                       put("kind", QStringLiteral("tool_call"));
                       put("name", t.name);
                       put("args", t.args);
                       put("callId", t.callId);
                   },
                   [&](const ToolResultPart &r) {
                       put("kind", QStringLiteral("tool_result"));
                       put("ok", r.ok);
                       put("callId", r.callId);
                       put("result", r.result);
                       put("error", r.error);
                   },
                   [&](const UnknownPart &u) {
                       put("kind", QStringLiteral("unknown"));
                       put("unknownKind", u.kind);
                       put("raw", u.raw);
                   },
               },
        part);
    return m;
}

} // namespace ContentNormalizer
