#include "ui/QmlViews.h"

#include <QQmlEngine>
#include <QQuickView>

namespace QmlViews {

void addImportPath(QQmlEngine &engine)
{
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
}

QUrl fileUrl(const QString &module, const QString &name)
{
    return QUrl(QStringLiteral("qrc:/qt/qml/%1/%2.qml").arg(QString(module).replace(u'.', u'/'), name));
}

QStringList load(QQuickView &view, const QString &name, const QVariantMap &properties)
{
    // Views import each other through the module.
    addImportPath(*view.engine());
    view.setInitialProperties(properties);
    view.setSource(fileUrl(QStringLiteral("Quillmote.Ui"), name));
    QStringList errors;
    if (view.status() != QQuickView::Ready) {
        for (const auto &e : view.errors())
            errors.append(e.toString());
    }
    return errors;
}

} // namespace QmlViews
