#include "ui/MainWindowController.h"

#include "core/Log.h"
#include "state/AppState.h"
#include "state/StateClient.h"
#include "ui/ContentImageProvider.h"
#include "ui/MainViewModel.h"
#include "ui/ViewWindow.h"

#include <QQmlEngine>
#include <QQuickWindow>

MainWindowController::MainWindowController(AppState &state, StateClient &client, QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_client(client)
{
    m_window = std::make_unique<ViewWindow>(ViewWindow::Setup { QStringLiteral("Quillmote"), QSize(980, 640),
        QSize(820, 480), QStringLiteral("QuillmoteMainWindow"), QStringLiteral("MainView") });
    auto *images = new ContentImageProvider;
    m_window->engine()->addImageProvider(QLatin1String(ContentImageProvider::providerId), images);
    m_model = new MainViewModel(state, &client, images, this);
    connect(m_model, &MainViewModel::openPreferencesRequested, this, &MainWindowController::openPreferencesRequested);
    m_window->load({ { QStringLiteral("vm"), QVariant::fromValue(static_cast<QObject *>(m_model)) } });
    connect(m_window.get(), &ViewWindow::closed, this, &MainWindowController::closed);
}

MainWindowController::~MainWindowController() = default;

void MainWindowController::open(const std::optional<QString> &focusPeer)
{
    // A regular app with a Dock icon has no Linux counterpart: windows simply show in the
    // taskbar, so the switch to "regular" is nothing to do here.
    m_client.start();
    if (focusPeer)
        m_state.setSelection(DetailSelection::conversation(*focusPeer));
    m_window->bringToFront();
    Log::info(Log::Category::mainwindow,
        QStringLiteral("open: window foregrounded") + (focusPeer ? QStringLiteral(", focus deep-link") : QString()));
}

QQuickWindow *MainWindowController::window() const
{
    return m_window->window();
}
