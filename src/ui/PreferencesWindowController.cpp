#include "ui/PreferencesWindowController.h"

#include "ui/PreferencesModel.h"
#include "ui/ViewWindow.h"

#include <QQuickWindow>

PreferencesWindowController::PreferencesWindowController(LoginItem *loginItem, QObject *parent)
    : QObject(parent)
    , m_model(new PreferencesModel(loginItem, this))
{
    m_window = std::make_unique<ViewWindow>(ViewWindow::Setup { QStringLiteral("Quillmote 偏好设置"), QSize(520, 560),
        QSize(460, 480), QStringLiteral("QuillmotePreferencesWindow"), QStringLiteral("PreferencesView") });
    m_window->load({ { QStringLiteral("prefs"), QVariant::fromValue(static_cast<QObject *>(m_model)) } });
    connect(m_window.get(), &ViewWindow::closed, this, &PreferencesWindowController::closed);
}

PreferencesWindowController::~PreferencesWindowController() = default;

void PreferencesWindowController::open()
{
    m_model->reload();
    m_window->fitHeightToContent();
    m_window->bringToFront();
}

QQuickWindow *PreferencesWindowController::window() const
{
    return m_window->window();
}
