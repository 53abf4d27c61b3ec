#pragma once

#include <QStringList>
#include <QVariantMap>

class QQuickView;

// The app's views are the QML module "Quillmote.Ui" (qml/ beside this file), compiled into
// the program; whatever links the module's plugin (qm_uiplugin) has it. This is the one
// place that knows where its files are.
namespace QmlViews {

// Loads the view `name` ("MainView") into `view` with its initial properties. Returns the
// load's errors, none when the view is ready.
QStringList load(QQuickView &view, const QString &name, const QVariantMap &properties);

} // namespace QmlViews
