#pragma once

#include "ui/ViewWindow.h"

#include <QString>

#include <optional>

class AppState;
class MainViewModel;
class StateClient;

// Owns the main chat window: the conversation list, one conversation or the own profile,
// or the offline view while the state server cannot be reached. Built once, kept for the
// life of the process; closing only hides it.
class MainWindowController : public ViewWindow
{
    Q_OBJECT
public:
    MainWindowController(AppState &state, StateClient &client, QObject *parent = nullptr);

    // Starts the state client (a second call only refreshes), selects the peer's
    // conversation when one is given and brings the window to the front.
    void open(const std::optional<QString> &focusPeer);
    MainViewModel *viewModel() const { return m_model; }

    // The main view over `state` in `window`, with the content image provider it reads;
    // without a client the view never goes offline (the sample-data preview).
    static MainViewModel *loadMainView(ViewWindow &window, AppState &state, StateClient *client);

Q_SIGNALS:
    void openPreferencesRequested(); // the offline view's preferences link

private:
    AppState &m_state;
    StateClient &m_client;
    MainViewModel *m_model;
};
