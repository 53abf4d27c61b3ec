import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// Above the detail: who this is, the read-only note and the profile button.
Rectangle {
    id: bar
    required property MainViewModel vm
    implicitHeight: Math.max(52, titleColumn.implicitHeight + 16)
    color: Theme.bar

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 12
        spacing: 10

        PeerAvatar {
            visible: bar.vm.detail === "conversation"
            handle: bar.vm.selectedPeer
            size: 30
        }
        ColumnLayout {
            id: titleColumn
            Layout.fillWidth: true
            spacing: 1
            Text {
                textFormat: Text.PlainText
                Layout.fillWidth: true
                text: bar.vm.detail === "conversation" ? "@" + bar.vm.selectedPeer
                    : bar.vm.detail === "profile" ? "个人中心" : "Quillmote"
                font.pointSize: Theme.title
                font.bold: true
                color: Theme.text
                elide: Text.ElideRight
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                textFormat: Text.PlainText
                visible: text.length > 0
                text: bar.vm.detail === "conversation" ? bar.vm.selectedFingerprint : ""
                font.pointSize: Theme.caption
                font.family: "monospace"
                color: Theme.tertiaryText
            }
        }
        Text {
            textFormat: Text.PlainText
            visible: bar.vm.detail === "conversation"
            text: "在 CLI 回复 · App 仅查看"
            font.pointSize: Theme.small
            color: Theme.tertiaryText
        }
        Button {
            objectName: "profileButton"
            visible: bar.vm.detail !== "profile"
            text: "打开个人中心"
            ToolTip.visible: hovered
            ToolTip.text: "打开个人中心"
            Accessible.name: "打开个人中心"
            font.pointSize: Theme.body
            onClicked: bar.vm.openProfile()
        }
    }
    Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: Theme.border }
}
