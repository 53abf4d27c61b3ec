import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Window
import Quillmote.Platform

// Asks the user to confirm one action before it runs. Everything it decides goes back
// through request.answer(); closing the window counts as "取消".
//
// The dialog comes up on its own, while the user may be typing elsewhere: keys count only
// once it has been active for armDelay ms, and the focused button is "取消", which Enter
// and Space activate. A keystroke meant for another window can never confirm.
Window {
    id: root

    required property ConfirmationRequest request
    property int armDelay: 600
    property bool armed: false

    onActiveChanged: {
        armed = false
        if (active)
            armTimer.restart()
        else
            armTimer.stop()
    }

    Timer {
        id: armTimer
        interval: root.armDelay
        onTriggered: root.armed = root.active
    }

    title: "Quillmote"
    modality: Qt.ApplicationModal
    flags: Qt.Dialog | Qt.WindowStaysOnTopHint
    width: 400
    height: Math.max(150, content.implicitHeight + 40)
    minimumWidth: 320
    minimumHeight: 130
    color: palette.window

    onClosing: root.request.answer(false)

    Shortcut {
        sequence: "Esc"
        onActivated: root.request.answer(false)
    }

    // Keys reach a button only once the dialog is armed; Enter and Space press the
    // focused one.
    component DialogButton: Button {
        id: button
        Keys.priority: Keys.BeforeItem
        Keys.onPressed: event => {
            if (!root.armed) {
                event.accepted = true
            } else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
                event.accepted = true
                button.clicked()
            }
        }
        Keys.onReleased: event => {
            if (!root.armed)
                event.accepted = true
        }
    }

    ColumnLayout {
        id: content

        anchors.fill: parent
        anchors.margins: 20
        spacing: 18

        Label {
            objectName: "questionLabel"
            Layout.fillWidth: true
            Layout.fillHeight: true
            // The caller's text, shown as it is: markup in it must not hide or restyle
            // what the user is asked to confirm.
            textFormat: Text.PlainText
            text: root.request.text
            wrapMode: Text.Wrap
            font.pixelSize: 15
        }

        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 10

            DialogButton {
                objectName: "cancelButton"
                text: "取消"
                focus: true
                onClicked: root.request.answer(false)
            }

            DialogButton {
                objectName: "confirmButton"
                text: root.request.confirmLabel
                onClicked: root.request.answer(true)
            }
        }
    }
}
