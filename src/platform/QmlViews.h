#pragma once

class QQmlEngine;

// The app's QML views live in the static module "Quillmote.Ui" (src/ui). Every window that
// loads one calls this first: it imports the module's static plugin and makes the module's
// resource path an import path of the engine.
namespace QmlViews {
void ensureImported(QQmlEngine &engine);
// qrc URL of a view of the module, by type name ("NotchOverlayView").
const char *baseUrl();
} // namespace QmlViews
