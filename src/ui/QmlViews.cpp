#include "ui/QmlViews.h"

#include <QQmlEngine>
#include <QQuickView>

namespace QmlViews {

QStringList load(QQuickView &view, const QString &name, const QVariantMap &properties)
{
    // Views import each other through the module, which the engine finds under this path.
    view.engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
    view.setInitialProperties(properties);
    view.setSource(QUrl(QStringLiteral("qrc:/qt/qml/Quillmote/Ui/") + name + QStringLiteral(".qml")));
    QStringList errors;
    if (view.status() != QQuickView::Ready) {
        for (const auto &e : view.errors())
            errors.append(e.toString());
    }
    return errors;
}

} // namespace QmlViews
