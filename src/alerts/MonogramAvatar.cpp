#include "alerts/MonogramAvatar.h"

#include "core/Characters.h"

#include <QBuffer>
#include <QFont>
#include <QPainter>

namespace MonogramAvatar {

QString initials(const QString &name)
{
    return Characters::initials(name);
}

QColor handleColor(const QString &handle)
{
    if (handle.isEmpty())
        return QColor(0x5b, 0x6b, 0x7f);
    // FNV-1a over the UTF-16 units, not qHash: Qt's string hash is seeded per process and
    // the same agent must get the same colour in every run.
    quint32 h = 2166136261u;
    for (const QChar c : handle)
        h = (h ^ c.unicode()) * 16777619u;
    return QColor::fromHsl(int(h % 360), 150, 110);
}

QColor brandGreen()
{
    return QColor(0x1f, 0xa8, 0x5a);
}

QString badgeText(int count)
{
    if (count <= 0)
        return {};
    return count > 99 ? QStringLiteral("99+") : QString::number(count);
}

namespace {

QImage draw(const QString &letters, int size, int badgeCount)
{
    QImage img(size, size, QImage::Format_ARGB32_Premultiplied);
    img.fill(Qt::transparent);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);

    p.setPen(Qt::NoPen);
    p.setBrush(brandGreen());
    p.drawEllipse(QRectF(0.5, 0.5, size - 1.0, size - 1.0));

    QFont font;
    font.setBold(true);
    font.setPixelSize(qMax(6, int(size * 0.40)));
    p.setFont(font);
    p.setPen(Qt::white);
    p.drawText(QRectF(0, 0, size, size), Qt::AlignCenter, letters);

    const QString badge = badgeText(badgeCount);
    if (!badge.isEmpty()) {
        QFont bf;
        bf.setBold(true);
        bf.setPixelSize(qMax(6, int(size * 0.34)));
        const QFontMetricsF fm(bf);
        const qreal h = size * 0.48;
        const qreal w = qMax(h, fm.horizontalAdvance(badge) + h * 0.45);
        const QRectF r(size - w, 0, w, h);
        p.setPen(QPen(Qt::white, qMax(1.0, size / 24.0)));
        p.setBrush(QColor(0xe5, 0x39, 0x35));
        p.drawRoundedRect(r, h / 2, h / 2);
        p.setFont(bf);
        p.setPen(Qt::white);
        p.drawText(r, Qt::AlignCenter, badge);
    }
    p.end();
    return img;
}

} // namespace

QImage image(const QString &name, int size, int badgeCount)
{
    // Text rendering is the slow part of a banner. The picture depends only on the
    // initials, which many senders share, and the same few senders come back often.
    struct Key {
        QString letters;
        int size;
        int badge;
        bool operator==(const Key &) const = default;
    };
    static QList<QPair<Key, QImage>> cache;
    constexpr qsizetype capacity = 32;
    const Key key { initials(name), size, qMin(badgeCount, 100) };
    for (qsizetype i = 0; i < cache.size(); ++i) {
        if (cache[i].first == key) {
            if (i > 0)
                cache.move(i, 0);
            return cache.first().second;
        }
    }
    QImage img = draw(key.letters, size, badgeCount);
    cache.prepend({ key, img });
    if (cache.size() > capacity)
        cache.removeLast();
    return img;
}

QByteArray png(const QString &name, int size)
{
    QByteArray out;
    QBuffer buffer(&out);
    buffer.open(QIODevice::WriteOnly);
    image(name, size).save(&buffer, "PNG");
    return out;
}

} // namespace MonogramAvatar
