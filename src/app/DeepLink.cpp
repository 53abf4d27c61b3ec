#include "app/DeepLink.h"

#include <QUrlQuery>

DeepLink DeepLink::parse(const QUrl &url)
{
    if (url.scheme() != QLatin1String("quillmote"))
        return { Kind::notQuillmote, {} };
    const QString host = url.host().toLower();
    if (host == QLatin1String("conversation")) {
        const QStringList parts = url.path(QUrl::FullyDecoded).split(QLatin1Char('/'), Qt::SkipEmptyParts);
        if (!parts.isEmpty())
            return { Kind::conversation, parts.first() };
    } else if (host == QLatin1String("open")) {
        const QUrlQuery query(url);
        const QString conversation = query.queryItemValue(QStringLiteral("conversation"), QUrl::FullyDecoded);
        if (!conversation.isEmpty())
            return { Kind::conversation, conversation };
        const QString sender = query.queryItemValue(QStringLiteral("sender"), QUrl::FullyDecoded);
        if (!sender.isEmpty())
            return { Kind::legacyWakeup, sender };
    }
    return { Kind::noTarget, {} };
}

DeepLink DeepLink::parse(const QString &text)
{
    if (!text.startsWith(QLatin1String("quillmote:")))
        return { Kind::notQuillmote, {} };
    return parse(QUrl(text));
}

QString DeepLink::logLine(const QUrl &url) const
{
    switch (kind) {
    case Kind::notQuillmote:
        return QStringLiteral("url-scheme: ignoring non-quillmote URL");
    case Kind::conversation:
        return QStringLiteral("url-scheme: deep-link → opened + selected @%1").arg(target);
    case Kind::legacyWakeup:
        return QStringLiteral("url-scheme: open?sender=@%1 — legacy wakeup, no-op on receive").arg(target);
    case Kind::noTarget:
        break;
    }
    return QStringLiteral("url-scheme: no conversation target in %1").arg(url.toString(QUrl::FullyEncoded));
}

QUrl DeepLink::openSenderUrl(const QString &sender)
{
    QUrl url;
    url.setScheme(QStringLiteral("quillmote"));
    url.setHost(QStringLiteral("open"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("sender"), QString::fromLatin1(QUrl::toPercentEncoding(sender)));
    url.setQuery(query);
    return url;
}
