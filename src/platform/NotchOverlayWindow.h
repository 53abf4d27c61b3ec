#pragma once

#include "alerts/NotchPanel.h"

#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <memory>

class NotchViewModel;
class QQuickView;

// The window of the notch overlay: a frameless QQuickView above everything and out of the
// taskbar, hosting NotchOverlayView. On X11 it bypasses the window manager
// (override-redirect), so it is placed exactly where the controller says, never decorated
// and never activated on arrival; it asks for the keyboard only while the reply field is
// open. Its outline is also set as the window's shape, so the corners are clear without a
// compositor. Under Wayland the compositor decides where an ordinary window goes: the
// overlay then shows as a small frameless always-on-top window wherever it is put.
class NotchOverlayWindow : public QObject, public NotchPanel
{
    Q_OBJECT
public:
    // Loads the overlay's view into the window with its initial properties and returns the
    // errors. The views are the ui layer's, so the composition root hands this in.
    using ViewLoader = std::function<QStringList(QQuickView &view, const QVariantMap &properties)>;

    NotchOverlayWindow(NotchViewModel &model, const ViewLoader &load, QObject *parent = nullptr);
    ~NotchOverlayWindow() override;

    void orderFront(const QRect &frame) override;
    void orderOut() override;
    void setFrame(const QRect &frame) override;
    void setKeyboardFocus(bool wanted) override;
    bool isVisible() const override;

    QQuickView *view() const { return m_view.get(); }

private:
    void applyFrame(const QRect &frame);
    void updateMask();

    NotchViewModel &m_model;
    std::unique_ptr<QQuickView> m_view;
    bool m_x11 = false;
};
