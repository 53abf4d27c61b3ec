import QtQuick
import QtQuick.Controls
import Quillmote.Ui

// One conversation, newest message at the bottom. The model lists newest first and the
// view grows upwards, so only the bubbles on screen are ever created. PageUp and PageDown
// scroll; scrolled up, a button jumps back to the newest message.
Item {
    id: view
    required property MainViewModel vm

    function page(direction) {
        // Bottom-to-top: the newest end is the largest contentY.
        const top = list.originY
        const bottom = list.originY + list.contentHeight - list.height
        list.contentY = Math.max(top, Math.min(bottom, list.contentY + direction * list.height * 0.9))
    }

    Shortcut {
        sequences: ["PgUp"]
        onActivated: view.page(-1)
    }
    Shortcut {
        sequences: ["PgDown"]
        onActivated: view.page(1)
    }

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
        // Dragging selects text; the wheel, the scroll bar and the keys scroll.
        interactive: false
        ScrollBar.vertical: ScrollBar { id: scrollBar; policy: ScrollBar.AsNeeded }
        header: Item { height: 12 }
        footer: Item { height: 12 }
        delegate: MessageBubble { width: ListView.view.width }
        Accessible.role: Accessible.List
        Accessible.name: "对话 @" + view.vm.selectedPeer

        WheelHandler {
            onWheel: (event) => {
                const top = list.originY
                const bottom = list.originY + list.contentHeight - list.height
                list.contentY = Math.max(top, Math.min(bottom, list.contentY - event.angleDelta.y))
            }
        }

        Connections {
            target: list.model
            function onPeerChanged() { list.positionViewAtBeginning() }
        }
    }

    RoundButton {
        objectName: "jumpToNewest"
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 18
        visible: list.count > 0 && list.contentY < list.originY + list.contentHeight - list.height - 40
        text: "↓"
        font.pointSize: Theme.title
        ToolTip.visible: hovered
        ToolTip.text: "跳到最新消息"
        Accessible.name: "跳到最新消息"
        onClicked: list.positionViewAtBeginning()
    }
}
