import QtQuick
import QtQuick.Controls
import Quillmote.Ui

// Shown instead of the conversations while the local state server does not answer.
Rectangle {
    id: offline
    required property MainViewModel vm
    color: Theme.window

    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 460)
        spacing: 14

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64
            height: 64
            radius: 32
            color: Theme.pill
            Text { anchors.centerIn: parent; text: "!"; font.pixelSize: 34; font.bold: true; color: Theme.secondaryText }
        }
        Text {
            textFormat: Text.PlainText
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "还没连接到监督服务"
            font.pointSize: Theme.large
            font.bold: true
            color: Theme.text
        }
        Text {
            textFormat: Text.PlainText
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: "这个窗口读取本机 CLI 的监督服务（quillmote web）提供的会话和消息。服务还没有运行，所以这里暂时没有内容。启动后窗口会自动刷新。"
            font.pointSize: Theme.body
            lineHeight: 1.3
            color: Theme.secondaryText
        }
        Button {
            objectName: "launchButton"
            anchors.horizontalCenter: parent.horizontalCenter
            text: offline.vm.launching ? "正在启动…" : "启动监督服务"
            enabled: !offline.vm.launching
            highlighted: true
            font.pointSize: Theme.body
            onClicked: offline.vm.launchServer()
        }
        BusyIndicator {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: offline.vm.launching
            running: visible
            implicitWidth: 28
            implicitHeight: 28
        }
        Text {
            objectName: "launchError"
            textFormat: Text.PlainText
            width: parent.width
            visible: offline.vm.launchError.length > 0
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: offline.vm.launchError
            font.pointSize: Theme.body
            color: Theme.danger
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "<a href=\"prefs\">偏好设置…</a>"
            textFormat: Text.StyledText
            linkColor: Theme.accent
            font.pointSize: Theme.small
            onLinkActivated: offline.vm.openPreferences()
            HoverHandler { cursorShape: Qt.PointingHandCursor }
        }
    }
}
