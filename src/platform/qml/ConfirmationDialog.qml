import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Window
import Quillmote.Platform

// Asks the user to confirm one action before it runs. Everything it decides goes back
// through request.answer(); closing the window counts as "取消".
Window {
    id: root

    required property ConfirmationRequest request

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

    ColumnLayout {
        id: content

        anchors.fill: parent
        anchors.margins: 20
        spacing: 18

        Label {
            objectName: "questionLabel"
            Layout.fillWidth: true
            Layout.fillHeight: true
            text: root.request.text
            wrapMode: Text.Wrap
            font.pixelSize: 15
        }

        RowLayout {
            Layout.alignment: Qt.AlignRight
            spacing: 10

            Button {
                objectName: "cancelButton"
                text: "取消"
                onClicked: root.request.answer(false)
            }

            Button {
                objectName: "confirmButton"
                text: root.request.confirmLabel
                highlighted: true
                focus: true
                onClicked: root.request.answer(true)
            }
        }
    }
}
