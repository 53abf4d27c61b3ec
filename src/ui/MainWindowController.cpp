#include "ui/MainWindowController.h"

#include "core/Log.h"
#include "state/AppState.h"
#include "state/StateClient.h"
#include "ui/ContentImageProvider.h"
#include "ui/MainViewModel.h"

#include <QQmlEngine>

MainWindowController::MainWindowController(AppState &state, StateClient &client, QObject *parent)
    : ViewWindow({ QStringLiteral("Quillmote"), QSize(980, 640), QSize(820, 480), QStringLiteral("QuillmoteMainWindow"),
                     QStringLiteral("MainView") },
        parent)
    , m_state(state)
    , m_client(client)
    , m_model(loadMainView(*this, state, &client))
{
    connect(m_model, &MainViewModel::openPreferencesRequested, this, &MainWindowController::openPreferencesRequested);
}

MainViewModel *MainWindowController::loadMainView(ViewWindow &window, AppState &state, StateClient *client)
{
    auto *images = new ContentImageProvider;
    window.engine()->addImageProvider(QLatin1String(ContentImageProvider::providerId), images);
    auto *model = new MainViewModel(state, client, images, &window);
    window.load({ { QStringLiteral("vm"), QVariant::fromValue(model) } });
    return model;
}

void MainWindowController::open(const std::optional<QString> &focusPeer)
{
    // A regular app with a Dock icon has no Linux counterpart: windows simply show in the
    // taskbar, so the switch to "regular" is nothing to do here.
    m_client.start();
    if (focusPeer)
        m_state.setSelection(DetailSelection::conversation(*focusPeer));
    bringToFront();
    Log::info(Log::Category::mainwindow,
        QStringLiteral("open: window foregrounded") + (focusPeer ? QStringLiteral(", focus deep-link") : QString()));
}
