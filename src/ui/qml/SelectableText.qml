import QtQuick
import Quillmote.Ui

// Text the user can select and copy (mouse, Ctrl+A, Ctrl+C, the right-click menu), drawn
// as plain text: a message never becomes markup.
TextEdit {
    id: selectable
    readOnly: true
    selectByMouse: true
    persistentSelection: false
    textFormat: TextEdit.PlainText
    wrapMode: TextEdit.Wrap
    color: Theme.text
    selectionColor: Theme.textSelection
    selectedTextColor: Theme.text
    font.pointSize: Theme.body
    activeFocusOnTab: false
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    TextMenu { target: selectable }
}
