import QtQuick
import QtQuick.Controls

// The right-click menu of a text field or a selectable text: "剪切", "拷贝", "粘贴",
// "全选", only the last two for read-only text. Put it inside the text item; it opens
// where the right button was pressed.
Item {
    id: area
    required property Item target
    // The target is a TextEdit or a TextField: the members used here are common to both.
    // qmllint disable type
    readonly property bool editable: !target.readOnly
    // qmllint enable type
    anchors.fill: parent

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: (point) => {
            area.target.forceActiveFocus()
            menu.popup(area, point.position.x, point.position.y)
        }
    }

    Menu {
        id: menu
        objectName: "textMenu"
        MenuItem {
            text: "剪切"
            visible: area.editable
            height: visible ? implicitHeight : 0
            // qmllint disable type
            enabled: area.target.selectedText.length > 0
            onTriggered: area.target.cut()
        }
        MenuItem {
            text: "拷贝"
            enabled: area.target.selectedText.length > 0
            onTriggered: area.target.copy()
        }
        MenuItem {
            text: "粘贴"
            visible: area.editable
            height: visible ? implicitHeight : 0
            enabled: area.target.canPaste
            onTriggered: area.target.paste()
        }
        MenuItem {
            text: "全选"
            onTriggered: area.target.selectAll()
            // qmllint enable type
        }
    }
}
