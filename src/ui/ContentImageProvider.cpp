#include "ui/ContentImageProvider.h"

ContentImageProvider::ContentImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QString ContentImageProvider::insert(const QString &key, const QString &base64)
{
    // Hex keeps any message id safe inside the URL, whatever the engine decodes.
    const QString id = QString::fromLatin1(key.toUtf8().toHex());
    {
        QMutexLocker locker(&m_lock);
        m_data.insert(id, base64);
    }
    return QStringLiteral("image://") + QLatin1String(providerId) + QLatin1Char('/') + id;
}

QImage ContentImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    QString base64;
    {
        QMutexLocker locker(&m_lock);
        base64 = m_data.value(id);
    }
    QImage image;
    image.loadFromData(QByteArray::fromBase64(base64.toLatin1()));
    // The view asks for a width only (height 0): never scale up, keep the aspect ratio.
    if (!image.isNull() && requestedSize.width() > 0 && image.width() > requestedSize.width())
        image = image.scaledToWidth(requestedSize.width(), Qt::SmoothTransformation);
    if (size)
        *size = image.size();
    return image;
}
