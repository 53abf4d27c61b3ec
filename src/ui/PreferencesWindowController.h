#pragma once

#include "ui/ViewWindow.h"

class PreferencesModel;

// The preferences window: the switches, the do-not-disturb breakthrough choice and an
// about pane with the command that reads the app's log.
class PreferencesWindowController : public ViewWindow
{
    Q_OBJECT
public:
    explicit PreferencesWindowController(QObject *parent = nullptr);

    void open();
    PreferencesModel *model() const { return m_model; }

private:
    PreferencesModel *m_model;
};
