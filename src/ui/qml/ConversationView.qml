import QtQuick
import QtQuick.Controls
import Quillmote.Ui

// One conversation, newest message at the bottom. The model lists newest first and the
// view grows upwards, so only the bubbles on screen are ever created.
Item {
    id: view
    required property MainViewModel vm

    ListView {
        id: list
        objectName: "conversationList"
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        clip: true
        model: view.vm.conversation
        verticalLayoutDirection: ListView.BottomToTop
        spacing: 6
        reuseItems: true
        cacheBuffer: 600
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar { }
        header: Item { height: 12 }
        footer: Item { height: 12 }
        delegate: MessageBubble { width: ListView.view.width }

        Connections {
            target: list.model
            function onPeerChanged() { list.positionViewAtBeginning() }
        }
    }
}
