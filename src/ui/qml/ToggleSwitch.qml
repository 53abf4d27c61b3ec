import QtQuick
import QtQuick.Controls
import Quillmote.Ui

// An on/off switch drawn as a track with a knob, in the window's colours.
Switch {
    id: control
    font.pointSize: Theme.body
    spacing: 12
    Accessible.name: text

    indicator: Rectangle {
        implicitWidth: 40
        implicitHeight: 22
        x: control.width - width - control.rightPadding
        y: control.topPadding + (control.availableHeight - height) / 2
        radius: height / 2
        color: control.checked ? Theme.accent : Theme.pill
        border.color: control.checked ? Theme.accent : Theme.border
        opacity: control.enabled ? 1 : 0.5

        Rectangle {
            x: control.checked ? parent.width - width - 2 : 2
            y: 2
            width: parent.height - 4
            height: width
            radius: width / 2
            color: "white"
            border.color: Theme.border
            Behavior on x { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }
        }
    }

    contentItem: Text {
        textFormat: Text.PlainText
        rightPadding: control.indicator.width + control.spacing
        text: control.text
        font: control.font
        color: Theme.text
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
}
