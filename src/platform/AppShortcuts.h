#pragma once

#include <QObject>

// The app's own key commands on every window of ours: Ctrl+0 opens the main window,
// Ctrl+, the preferences, Ctrl+Q quits. (Cut, copy, paste and select-all are the text
// fields' own.)
class AppShortcuts : public QObject
{
    Q_OBJECT
public:
    explicit AppShortcuts(QObject *parent = nullptr);

Q_SIGNALS:
    void openAppRequested();
    void openPreferencesRequested();
    void quitRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
