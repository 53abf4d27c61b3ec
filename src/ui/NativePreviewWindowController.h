#pragma once

#include "ui/ViewWindow.h"

class AppState;
class MainViewModel;

// The sample-data preview: the main window's views over a fixed document of its own
// (NativeSampleData), never connected to a state server.
class NativePreviewWindowController : public ViewWindow
{
    Q_OBJECT
public:
    explicit NativePreviewWindowController(QObject *parent = nullptr);

    void open();
    MainViewModel *viewModel() const { return m_model; }

private:
    AppState *m_state;
    MainViewModel *m_model;
};
