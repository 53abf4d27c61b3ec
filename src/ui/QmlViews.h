#pragma once

#include <QStringList>
#include <QUrl>
#include <QVariantMap>

class QQmlEngine;
class QQuickView;

// The app's QML is compiled into the program as modules under qrc:/qt/qml: the views are
// "Quillmote.Ui" (qml/ beside this file; whatever links qm_uiplugin has it), the
// confirmation dialog "Quillmote.Platform". This is the one place that knows where their
// files are.
namespace QmlViews {

// Lets `engine` import the compiled modules.
void addImportPath(QQmlEngine &engine);

// The file of type `name` in `module` ("Quillmote.Platform", "ConfirmationDialog").
QUrl fileUrl(const QString &module, const QString &name);

// Loads the view `name` of Quillmote.Ui ("MainView") into `view` with its initial
// properties. Returns the load's errors, none when the view is ready.
QStringList load(QQuickView &view, const QString &name, const QVariantMap &properties);

} // namespace QmlViews
