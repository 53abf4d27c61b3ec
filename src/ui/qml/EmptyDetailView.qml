import QtQuick
import Quillmote.Ui

// Shown while nothing is selected.
Item {
    Column {
        anchors.centerIn: parent
        spacing: 10
        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64
            height: 52
            Rectangle { x: 0; y: 0; width: 42; height: 30; radius: 12; color: "transparent"; border.color: Theme.tertiaryText; border.width: 3 }
            Rectangle { x: 20; y: 20; width: 42; height: 30; radius: 12; color: Theme.window; border.color: Theme.tertiaryText; border.width: 3 }
        }
        Text {
            textFormat: Text.PlainText
            anchors.horizontalCenter: parent.horizontalCenter
            text: "选择一个会话"
            font.pointSize: Theme.large
            font.bold: true
            color: Theme.text
        }
        Text {
            textFormat: Text.PlainText
            anchors.horizontalCenter: parent.horizontalCenter
            text: "从左侧选择一个 Agent 开始对话，或打开个人中心。"
            font.pointSize: Theme.body
            color: Theme.tertiaryText
        }
    }
}
