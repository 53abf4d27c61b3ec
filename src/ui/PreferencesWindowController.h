#pragma once

#include <QObject>

#include <memory>

class LoginItem;
class PreferencesModel;
class QQuickWindow;
class ViewWindow;

// The preferences window: the switches, the do-not-disturb breakthrough choice and an
// about pane with the command that reads the app's log.
class PreferencesWindowController : public QObject
{
    Q_OBJECT
public:
    explicit PreferencesWindowController(LoginItem *loginItem = nullptr, QObject *parent = nullptr);
    ~PreferencesWindowController() override;

    void open();
    QQuickWindow *window() const;
    PreferencesModel *model() const { return m_model; }

Q_SIGNALS:
    void closed();

private:
    std::unique_ptr<ViewWindow> m_window;
    PreferencesModel *m_model;
};
