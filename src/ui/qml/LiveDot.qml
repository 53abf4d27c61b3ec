import QtQuick

// The small dot that marks a live, unread announcement. It steps between two opacities
// rather than fading: a fade redraws the overlay every frame for as long as the card waits
// (minutes), a step redraws it less than twice a second.
Rectangle {
    id: dot
    property bool pulsing: true
    property bool dimmed: false
    width: 8
    height: 8
    radius: 4
    color: "#30d158"
    opacity: pulsing && dimmed ? 0.4 : 1.0

    Timer {
        interval: 700
        repeat: true
        running: dot.pulsing && dot.visible
        onTriggered: dot.dimmed = !dot.dimmed
        onRunningChanged: if (!running) dot.dimmed = false
    }
}
