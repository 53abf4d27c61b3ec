pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// The preferences: the switches, the do-not-disturb choice and the about pane.
Rectangle {
    id: root
    required property PreferencesModel prefs
    color: "#f5f5f7"

    component Group: Rectangle {
        default property alias rows: groupColumn.data
        property string title
        Layout.fillWidth: true
        implicitHeight: groupColumn.implicitHeight + 24
        radius: 10
        color: "white"
        border.color: "#e2e2e7"
        ColumnLayout {
            id: groupColumn
            x: 14
            y: 12
            width: parent.width - 28
            spacing: 6
        }
    }

    ScrollView {
        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            x: 20
            width: parent.width - 40
            spacing: 12

            Item { implicitHeight: 8 }

            Repeater {
                model: root.prefs.switchGroups
                delegate: Group {
                    id: group
                    required property var modelData
                    Text { textFormat: Text.PlainText; text: group.modelData.title; font.pixelSize: 12; font.bold: true; color: "#6e6e73" }
                    Repeater {
                        model: group.modelData.switches
                        delegate: Switch {
                            required property var modelData
                            objectName: "switch:" + modelData.key
                            Layout.fillWidth: true
                            text: modelData.label
                            checked: modelData.checked
                            onToggled: root.prefs.setSwitch(modelData.key, checked)
                        }
                    }
                }
            }

            Group {
                Text { text: "勿扰模式"; font.pixelSize: 12; font.bold: true; color: "#6e6e73" }
                Switch {
                    objectName: "switch:breakthrough"
                    Layout.fillWidth: true
                    text: "允许 Quillmote 消息破限"
                    checked: root.prefs.breakthrough
                    onToggled: root.prefs.setBreakthrough(checked)
                }
                Text {
                    textFormat: Text.PlainText
                    Layout.fillWidth: true
                    wrapMode: Text.Wrap
                    text: "开启“按好友配专注打断”后生效：勿扰模式打开时，Quillmote 的消息仍以紧急通知送达。"
                    font.pixelSize: 11
                    color: "#86868b"
                }
            }

            Group {
                Text { text: "关于"; font.pixelSize: 12; font.bold: true; color: "#6e6e73" }
                Text { textFormat: Text.PlainText; text: root.prefs.appName; font.pixelSize: 16; font.bold: true; color: "#1d1d1f" }
                Text { textFormat: Text.PlainText; text: "版本 " + root.prefs.version; font.pixelSize: 12; color: "#6e6e73" }
                Text { text: "查看最近一小时的日志："; font.pixelSize: 12; color: "#6e6e73"; topPadding: 6 }
                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: logCommand.implicitHeight + 14
                    radius: 6
                    color: "#1f2430"
                    TextEdit {
                        id: logCommand
                        objectName: "logCommand"
                        textFormat: TextEdit.PlainText
                        x: 8
                        y: 7
                        width: parent.width - 16
                        text: root.prefs.logCommand
                        readOnly: true
                        selectByMouse: true
                        wrapMode: TextEdit.WrapAnywhere
                        font.family: "monospace"
                        font.pixelSize: 12
                        color: "#e6e9ef"
                        selectionColor: "#3d7bd9"
                    }
                }
            }
            Item { implicitHeight: 8 }
        }
    }
}
