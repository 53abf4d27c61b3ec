#pragma once

#include <QObject>

#include <memory>

class AppState;
class MainViewModel;
class QQuickWindow;
class ViewWindow;

// The sample-data preview: the main window's views over a fixed document of its own
// (NativeSampleData), never connected to a state server.
class NativePreviewWindowController : public QObject
{
    Q_OBJECT
public:
    explicit NativePreviewWindowController(QObject *parent = nullptr);
    ~NativePreviewWindowController() override;

    void open();
    QQuickWindow *window() const;
    MainViewModel *viewModel() const { return m_model; }

Q_SIGNALS:
    void closed();

private:
    AppState *m_state;
    std::unique_ptr<ViewWindow> m_window;
    MainViewModel *m_model = nullptr;
};
