#pragma once

#include <QHash>
#include <QMutex>
#include <QQuickImageProvider>

// Pictures carried inside messages as base64, served to QML as "image://content/<key>".
// Models register a picture's text under a key when a bubble first asks for it; decoding
// happens only when the view loads the image, on the engine's image loader thread.
class ContentImageProvider : public QQuickImageProvider
{
public:
    static constexpr const char *providerId = "content";

    ContentImageProvider();

    // The "image://content/…" URL of the registered data.
    QString insert(const QString &key, const QString &base64);
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

private:
    QMutex m_lock;
    QHash<QString, QString> m_data;
};
