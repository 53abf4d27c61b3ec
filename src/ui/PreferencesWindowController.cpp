#include "ui/PreferencesWindowController.h"

#include "ui/PreferencesModel.h"

PreferencesWindowController::PreferencesWindowController(QObject *parent)
    : ViewWindow({ QStringLiteral("Quillmote 偏好设置"), QSize(520, 560), QSize(460, 480),
                     QStringLiteral("QuillmotePreferencesWindow"), QStringLiteral("PreferencesView") },
        parent)
    , m_model(new PreferencesModel(this))
{
    load({ { QStringLiteral("prefs"), QVariant::fromValue(m_model) } });
}

void PreferencesWindowController::open()
{
    m_model->reload();
    bringToFront();
}
