import QtQuick
import QtQuick.Controls

// One quick action of the card. `system` names the action's symbol for the record; the
// button shows `label`. `a11y` is its help text: the tooltip and the accessible description.
Item {
    id: button
    property string system
    property string label
    property string a11y
    property bool primary: false
    property bool hovering: mouse.containsMouse && visible
    signal action()

    implicitWidth: text.implicitWidth + 20
    implicitHeight: 28

    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.description: a11y
    Accessible.onPressAction: button.action()

    Rectangle {
        anchors.fill: parent
        radius: 8
        color: button.primary ? (button.hovering ? "#3d8bff" : "#2f7bf5")
                              : (button.hovering ? "#3a3a3c" : "#2c2c2e")
        border.color: button.primary ? "transparent" : "#48484a"
        border.width: 1
    }
    Text {
        id: text
        textFormat: Text.PlainText
        anchors.centerIn: parent
        text: button.label
        color: "white"
        font.pixelSize: 12
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: button.action()
    }
    ToolTip.visible: hovering && a11y.length > 0
    ToolTip.delay: 600
    ToolTip.text: a11y
}
