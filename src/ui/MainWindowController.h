#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class AppState;
class MainViewModel;
class QQuickWindow;
class StateClient;
class ViewWindow;

// Owns the main chat window: the conversation list, one conversation or the own profile,
// or the offline view while the state server cannot be reached. Built once, kept for the
// life of the process; closing only hides it.
class MainWindowController : public QObject
{
    Q_OBJECT
public:
    MainWindowController(AppState &state, StateClient &client, QObject *parent = nullptr);
    ~MainWindowController() override;

    // Starts the state client (a second call only refreshes), selects the peer's
    // conversation when one is given and brings the window to the front.
    void open(const std::optional<QString> &focusPeer);
    QQuickWindow *window() const;
    MainViewModel *viewModel() const { return m_model; }

Q_SIGNALS:
    void openPreferencesRequested(); // the offline view's preferences link
    void closed();

private:
    AppState &m_state;
    StateClient &m_client;
    std::unique_ptr<ViewWindow> m_window;
    MainViewModel *m_model = nullptr;
};
