#pragma once

#include <QObject>
#include <QRect>
#include <QTimer>
#include <QVariantMap>

#include <memory>

class QQmlEngine;
class QQuickView;
class QQuickWindow;

// One of the app's ordinary windows over a view of Quillmote.Ui: titled, resizable, its
// geometry kept between runs under an autosave key, and only hidden when the user closes
// it, so its controller, models and scroll positions stay.
class ViewWindow : public QObject
{
    Q_OBJECT
public:
    struct Setup {
        QString title;
        QSize size;
        QSize minimumSize;
        QString autosaveKey; // settings key of the saved geometry
        QString view; // type name in Quillmote.Ui, e.g. "MainView"
    };

    explicit ViewWindow(const Setup &setup, QObject *parent = nullptr);
    ~ViewWindow() override;

    // Loads the view with its initial properties; image providers go to engine() before.
    void load(const QVariantMap &properties);
    QQuickWindow *window() const;
    QQmlEngine *engine() const;
    // Shows, raises and asks for keyboard focus.
    void bringToFront();
    // Makes the window at least as tall as its view wants (the view's implicitHeight),
    // within the screen, so nothing is cut off; follows the view as it grows.
    void fitHeightToContent();

Q_SIGNALS:
    // The user closed the window (it is only hidden).
    void closed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void saveGeometry();
    void applyContentHeight();
    Setup m_setup;
    std::unique_ptr<QQuickView> m_view;
    QTimer m_saveTimer; // moves and resizes come in bursts; one write after they settle
};
