#pragma once

#include <QList>
#include <QObject>
#include <QRect>
#include <QString>

#include <optional>

// One screen as the notch sees it, in the desktop's top-left coordinates.
struct NotchScreen {
    QString name;
    QRect frame; // the whole screen
    QRect available; // without panels (the top panel's bottom edge is available.top())
    double topInset = 0; // height of a camera housing; no Linux screen reports one
    std::optional<double> auxLeftWidth; // the areas left and right of a housing
    std::optional<double> auxRightWidth;

    bool operator==(const NotchScreen &) const = default;
};

// The screens of the desktop, and where the user is looking.
class ScreenSource : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    virtual QList<NotchScreen> screens() const = 0;
    // Index of the primary screen in screens(), or -1.
    virtual int primaryIndex() const = 0;
    // Index of the screen holding the window with keyboard focus (any application's), or -1
    // when the session cannot tell.
    virtual int focusedIndex() const { return -1; }
    // Index of the screen under the pointer, or -1 when the session cannot tell.
    virtual int pointerIndex() const { return -1; }

Q_SIGNALS:
    // A screen was added or removed or changed its geometry.
    void changed();
};
