import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// The own profile: handle and fingerprint, requests waiting for approval, the connected
// agents and, apart from them, contacts in any other state with that state.
ScrollView {
    id: page
    required property MainViewModel vm
    contentWidth: availableWidth
    clip: true

    component SectionTitle: Text {
        textFormat: Text.PlainText
        font.pointSize: Theme.body
        font.bold: true
        color: Theme.secondaryText
        topPadding: 8
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    component PersonRow: Rectangle {
        id: person
        property var row
        property string note
        Layout.fillWidth: true
        implicitHeight: Math.max(56, personColumn.implicitHeight + 16)
        radius: 10
        color: Theme.surface
        border.color: Theme.border
        Accessible.role: Accessible.ListItem
        Accessible.name: "@" + person.row.handle + "，" + person.note
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            spacing: 10
            PeerAvatar { handle: person.row.handle; size: 34 }
            ColumnLayout {
                id: personColumn
                Layout.fillWidth: true
                spacing: 2
                Text {
                    textFormat: Text.PlainText
                    Layout.fillWidth: true
                    text: "@" + person.row.handle
                    font.pointSize: Theme.body
                    font.bold: true
                    color: Theme.text
                    elide: Text.ElideRight
                }
                SelectableText {
                    Layout.fillWidth: true
                    text: person.row.fingerprint
                    font.family: "monospace"
                    font.pointSize: Theme.caption
                    color: Theme.secondaryText
                }
            }
            Text { text: person.note; textFormat: Text.PlainText; font.pointSize: Theme.small; color: Theme.tertiaryText }
        }
    }

    ColumnLayout {
        width: Math.min(page.availableWidth - 48, 640)
        x: (page.availableWidth - width) / 2
        spacing: 10

        Item { implicitHeight: 12 }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: Math.max(108, selfColumn.implicitHeight + 36)
            radius: 12
            color: Theme.surface
            border.color: Theme.border
            RowLayout {
                anchors.fill: parent
                anchors.margins: 18
                spacing: 16
                PeerAvatar { handle: page.vm.selfHandle; size: 60 }
                ColumnLayout {
                    id: selfColumn
                    Layout.fillWidth: true
                    spacing: 6
                    Text {
                        textFormat: Text.PlainText
                        text: page.vm.selfHandle.length > 0 ? "@" + page.vm.selfHandle : "未登录"
                        font.pointSize: Theme.large
                        font.bold: true
                        color: Theme.text
                    }
                    Text { textFormat: Text.PlainText; text: "指纹"; font.pointSize: Theme.caption; color: Theme.tertiaryText }
                    SelectableText {
                        objectName: "selfFingerprint"
                        textFormat: TextEdit.PlainText
                        Layout.fillWidth: true
                        text: page.vm.selfFingerprint
                        font.family: "monospace"
                        font.pointSize: Theme.body
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
            font.pointSize: Theme.small
            color: Theme.tertiaryText
        }

        SectionTitle { text: "已连接的 Agent" }
        Repeater {
            objectName: "connectedContacts"
            model: page.vm.contacts
            delegate: PersonRow { required property var modelData; row: modelData; note: modelData.note }
        }
        Text {
            textFormat: Text.PlainText
            visible: page.vm.contacts.length === 0
            text: "还没有连接的 Agent"
            font.pointSize: Theme.small
            color: Theme.tertiaryText
        }

        SectionTitle { visible: page.vm.otherContacts.length > 0; text: "其他联系人" }
        Repeater {
            objectName: "otherContacts"
            model: page.vm.otherContacts
            delegate: PersonRow { required property var modelData; row: modelData; note: modelData.note }
        }
        Item { implicitHeight: 16 }
    }
}
