import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// The preferences: the switches, starting at login, the do-not-disturb choice and the
// about pane. The window takes the content's height (implicitHeight), so nothing is cut.
ThemedPane {
    id: root
    required property PreferencesModel prefs
    implicitWidth: 520
    implicitHeight: content.implicitHeight + 32

    Shortcut {
        sequences: ["Ctrl+W"]
        onActivated: root.Window.window.close()
    }

    component GroupTitle: Text {
        textFormat: Text.PlainText
        font.pointSize: Theme.small
        font.bold: true
        color: Theme.secondaryText
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    component Group: Rectangle {
        default property alias rows: groupColumn.data
        Layout.fillWidth: true
        implicitHeight: groupColumn.implicitHeight + 24
        radius: 10
        color: Theme.surface
        border.color: Theme.border
        ColumnLayout {
            id: groupColumn
            x: 14
            y: 12
            width: parent.width - 28
            spacing: 6
        }
    }

    ScrollView {
        id: scroll
        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            id: content
            x: 20
            y: 16
            width: scroll.availableWidth - 40
            spacing: 12

            Repeater {
                model: ["通知", "权限与高级（默认关）"]
                delegate: Group {
                    id: group
                    required property string modelData
                    GroupTitle { text: group.modelData }
                    Repeater {
                        // qmllint disable unqualified
                        model: root.prefs.switches.filter(s => s.group === group.modelData)
                        delegate: ToggleSwitch {
                            required property var modelData
                            objectName: "switch:" + modelData.key
                            Layout.fillWidth: true
                            text: modelData.label
                            checked: modelData.checked
                            onToggled: root.prefs.setSwitch(modelData.key, checked)
                        // qmllint enable unqualified
                        }
                    }
                }
            }

            Group {
                visible: root.prefs.hasLoginItem
                GroupTitle { text: "启动" }
                ToggleSwitch {
                    objectName: "switch:loginItem"
                    Layout.fillWidth: true
                    text: "登录时启动"
                    checked: root.prefs.loginItem
                    onToggled: root.prefs.setLoginItem(checked)
                }
            }

            Group {
                GroupTitle { text: "勿扰模式" }
                ToggleSwitch {
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
                    font.pointSize: Theme.caption
                    color: Theme.tertiaryText
                }
            }

            Group {
                GroupTitle { text: "关于" }
                Text { text: root.prefs.appName; textFormat: Text.PlainText; font.pointSize: Theme.title; font.bold: true; color: Theme.text }
                Text { text: "版本 " + root.prefs.version; textFormat: Text.PlainText; font.pointSize: Theme.small; color: Theme.secondaryText }
                Text { textFormat: Text.PlainText; text: "查看最近一小时的日志："; font.pointSize: Theme.small; color: Theme.secondaryText; topPadding: 6 }
                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: logCommand.implicitHeight + 14
                    radius: 6
                    color: Theme.code
                    SelectableText {
                        id: logCommand
                        objectName: "logCommand"
                        textFormat: TextEdit.PlainText
                        x: 8
                        y: 7
                        width: parent.width - 16
                        text: root.prefs.logCommand
                        wrapMode: TextEdit.WrapAnywhere
                        font.family: "monospace"
                        font.pointSize: Theme.small
                        color: Theme.codeText
                        selectedTextColor: Theme.codeText
                    }
                }
            }
        }
    }
}
