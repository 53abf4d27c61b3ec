import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// The own profile: handle and fingerprint, requests waiting for approval and the
// connected agents.
ScrollView {
    id: page
    required property MainViewModel vm
    contentWidth: availableWidth
    clip: true

    component SectionTitle: Text {
        textFormat: Text.PlainText
        font.pixelSize: 13
        font.bold: true
        color: "#6e6e73"
        topPadding: 8
    }

    component PersonRow: Rectangle {
        id: person
        property var row
        property string note
        Layout.fillWidth: true
        implicitHeight: 56
        radius: 10
        color: "white"
        border.color: "#e2e2e7"
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            spacing: 10
            PeerAvatar { handle: person.row.handle; size: 34 }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Text { textFormat: Text.PlainText; Layout.fillWidth: true; text: "@" + person.row.handle; font.pixelSize: 14; font.bold: true; color: "#1d1d1f" }
                Text {
                    textFormat: Text.PlainText
                    Layout.fillWidth: true
                    text: person.row.fingerprint
                    font.family: "monospace"
                    font.pixelSize: 11
                    color: "#6e6e73"
                }
            }
            Text { textFormat: Text.PlainText; text: person.note; font.pixelSize: 12; color: "#86868b" }
        }
    }

    ColumnLayout {
        width: Math.min(page.availableWidth - 48, 640)
        x: (page.availableWidth - width) / 2
        spacing: 10

        Item { implicitHeight: 12 }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 108
            radius: 12
            color: "white"
            border.color: "#e2e2e7"
            RowLayout {
                anchors.fill: parent
                anchors.margins: 18
                spacing: 16
                PeerAvatar { handle: page.vm.selfHandle; size: 60 }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 6
                    Text {
                        textFormat: Text.PlainText
                        text: page.vm.selfHandle.length > 0 ? "@" + page.vm.selfHandle : "未登录"
                        font.pixelSize: 20
                        font.bold: true
                        color: "#1d1d1f"
                    }
                    Text { text: "指纹"; font.pixelSize: 11; color: "#86868b" }
                    TextEdit {
                        objectName: "selfFingerprint"
                        textFormat: TextEdit.PlainText
                        Layout.fillWidth: true
                        text: page.vm.selfFingerprint
                        readOnly: true
                        selectByMouse: true
                        wrapMode: TextEdit.Wrap
                        font.family: "monospace"
                        font.pixelSize: 13
                        color: "#1d1d1f"
                    }
                }
            }
        }

        SectionTitle { text: "待确认的连接请求" }
        Repeater {
            model: page.vm.pending
            delegate: PersonRow { required property var modelData; row: modelData; note: "等待确认" }
        }
        Text {
            textFormat: Text.PlainText
            visible: page.vm.pending.length === 0
            text: "没有待确认的请求"
            font.pixelSize: 12
            color: "#86868b"
        }

        SectionTitle { text: "已连接的 Agent" }
        Repeater {
            model: page.vm.contacts
            delegate: PersonRow {
                required property var modelData
                row: modelData
                note: modelData.status === "connected" ? "已连接" : modelData.status === "pending" ? "待对方确认" : modelData.status
            }
        }
        Text {
            textFormat: Text.PlainText
            visible: page.vm.contacts.length === 0
            text: "还没有连接的 Agent"
            font.pixelSize: 12
            color: "#86868b"
        }
        Item { implicitHeight: 16 }
    }
}
