import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// Above the detail: who this is, the read-only note and the profile button.
Rectangle {
    id: bar
    required property MainViewModel vm
    implicitHeight: 52
    color: "#fbfbfd"

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
            Layout.fillWidth: true
            spacing: 1
            Text {
                textFormat: Text.PlainText
                Layout.fillWidth: true
                text: bar.vm.detail === "conversation" ? "@" + bar.vm.selectedPeer
                    : bar.vm.detail === "profile" ? "个人中心" : "Quillmote"
                font.pixelSize: 15
                font.bold: true
                color: "#1d1d1f"
                elide: Text.ElideRight
            }
            Text {
                textFormat: Text.PlainText
                visible: text.length > 0
                text: bar.vm.detail === "conversation" ? bar.vm.selectedFingerprint : ""
                font.pixelSize: 10
                font.family: "monospace"
                color: "#86868b"
            }
        }
        Text {
            textFormat: Text.PlainText
            visible: bar.vm.detail === "conversation"
            text: "在 CLI 回复 · App 仅查看"
            font.pixelSize: 12
            color: "#86868b"
        }
        Button {
            objectName: "profileButton"
            text: "打开个人中心"
            ToolTip.visible: hovered
            ToolTip.text: "打开个人中心"
            onClicked: bar.vm.openProfile()
        }
    }
    Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: "#dcdce0" }
}
