import QtQuick

// Shown while nothing is selected.
Item {
    Column {
        anchors.centerIn: parent
        spacing: 10
        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64
            height: 52
            Rectangle { x: 0; y: 0; width: 42; height: 30; radius: 12; color: "transparent"; border.color: "#a1a1a6"; border.width: 3 }
            Rectangle { x: 20; y: 20; width: 42; height: 30; radius: 12; color: "#f5f5f7"; border.color: "#a1a1a6"; border.width: 3 }
        }
        Text {
            textFormat: Text.PlainText
            anchors.horizontalCenter: parent.horizontalCenter
            text: "选择一个会话"
            font.pixelSize: 20
            font.bold: true
            color: "#3a3a3c"
        }
        Text {
            textFormat: Text.PlainText
            anchors.horizontalCenter: parent.horizontalCenter
            text: "从左侧选择一个 Agent 开始对话，或打开个人中心。"
            font.pixelSize: 13
            color: "#86868b"
        }
    }
}
