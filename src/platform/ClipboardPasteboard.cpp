#include "platform/ClipboardPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

void ClipboardPasteboard::copyConcealed(const QString &text)
{
    auto *data = new QMimeData;
    data->setText(text);
    data->setData(QString::fromLatin1(concealedMime), QByteArrayLiteral("secret"));
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
}
