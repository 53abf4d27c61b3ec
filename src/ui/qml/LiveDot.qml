import QtQuick

// The small dot that marks a live, unread announcement.
Rectangle {
    id: dot
    property bool pulsing: true
    width: 8
    height: 8
    radius: 4
    color: "#30d158"

    SequentialAnimation on opacity {
        running: dot.pulsing
        loops: Animation.Infinite
        alwaysRunToEnd: true
        NumberAnimation { to: 0.35; duration: 700; easing.type: Easing.InOutSine }
        NumberAnimation { to: 1.0; duration: 700; easing.type: Easing.InOutSine }
    }
}
