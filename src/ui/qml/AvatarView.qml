import QtQuick

// The sender's monogram. While `attention` is on, a ring swells out of it a few times
// whenever a new message takes its place.
Item {
    id: avatar
    property string initials
    property color tint: "#5b6b7f"
    property bool attention: false
    property int size: 28
    implicitWidth: size
    implicitHeight: size

    Rectangle {
        id: ring
        anchors.centerIn: parent
        width: avatar.size
        height: avatar.size
        radius: width / 2
        color: "transparent"
        border.color: avatar.tint
        border.width: 2
        opacity: 0
    }

    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: avatar.tint
        Text {
            textFormat: Text.PlainText
            anchors.centerIn: parent
            text: avatar.initials
            color: "white"
            font.pixelSize: avatar.size * 0.4
            font.bold: true
        }
    }

    SequentialAnimation {
        id: attentionAnimation
        loops: 2
        ParallelAnimation {
            NumberAnimation { target: ring; property: "scale"; from: 1; to: 1.6; duration: 650; easing.type: Easing.OutCubic }
            NumberAnimation { target: ring; property: "opacity"; from: 0.9; to: 0; duration: 650; easing.type: Easing.OutCubic }
        }
    }

    function drawAttention() {
        if (attention)
            attentionAnimation.restart()
    }
    onInitialsChanged: drawAttention()
    onAttentionChanged: drawAttention()
}
