#include "platform/QmlViews.h"

#include <QQmlEngine>
#include <QtPlugin>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(Quillmote_UiPlugin)

namespace QmlViews {

void ensureImported(QQmlEngine &engine)
{
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
}

const char *baseUrl()
{
    return "qrc:/qt/qml/Quillmote/Ui/";
}

} // namespace QmlViews
