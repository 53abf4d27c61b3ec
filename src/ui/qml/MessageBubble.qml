pragma ComponentBehavior: Bound

import QtQuick
import Quillmote.Ui

// One message: the day separator when it opens a day, then the bubble with its parts,
// time and delivery mark.
Item {
    id: bubble
    required property string messageId
    required property string separator
    required property bool outgoing
    required property string messageType
    required property var parts
    required property string time
    required property string status
    required property string spoken
    readonly property real maxBubbleWidth: Math.min(width * 0.74, 620)
    height: column.implicitHeight

    function statusMark(s) {
        switch (s) {
        case "queued": return "◷"
        case "sent": return "✓"
        case "delivered": return "✓✓"
        case "read": return "✓✓ 已读"
        default: return ""
        }
    }

    Column {
        id: column
        width: parent.width
        spacing: 6

        Item {
            visible: bubble.separator.length > 0
            width: parent.width
            height: visible ? separatorText.implicitHeight + 16 : 0
            Rectangle {
                anchors.centerIn: parent
                width: separatorText.implicitWidth + 18
                height: separatorText.implicitHeight + 6
                radius: height / 2
                color: Theme.pill
                Text {
                    id: separatorText
                    textFormat: Text.PlainText
                    anchors.centerIn: parent
                    text: bubble.separator
                    font.pointSize: Theme.caption
                    color: Theme.secondaryText
                }
            }
        }

        Item {
            width: parent.width
            height: box.height

            Rectangle {
                id: box
                anchors.right: bubble.outgoing ? parent.right : undefined
                anchors.left: bubble.outgoing ? undefined : parent.left
                width: Math.min(bubble.maxBubbleWidth, Math.max(content.naturalWidth, footer.implicitWidth, typeLabel.implicitWidth) + 24)
                height: inner.implicitHeight + 16
                radius: 14
                color: bubble.outgoing ? Theme.bubbleOut : Theme.bubbleIn
                border.color: bubble.status === "failed" ? Theme.danger : bubble.outgoing ? Theme.bubbleOutBorder : Theme.border
                Accessible.role: Accessible.Grouping
                Accessible.name: bubble.spoken

                Column {
                    id: inner
                    x: 12
                    y: 8
                    width: box.width - 24
                    spacing: 6

                    Text {
                        id: typeLabel
                        textFormat: Text.PlainText
                        visible: bubble.messageType.length > 0 && bubble.messageType !== "text"
                        text: bubble.messageType
                        font.pointSize: Theme.caption
                        font.family: "monospace"
                        color: Theme.tertiaryText
                    }

                    Column {
                        id: content
                        // The widest part's unwrapped width decides the bubble's width.
                        property real naturalWidth: {
                            let w = 0
                            for (let i = 0; i < repeater.count; ++i) {
                                const item = repeater.itemAt(i)
                                if (item)
                                    w = Math.max(w, item.naturalWidth)
                            }
                            return w
                        }
                        width: parent.width
                        spacing: 8
                        Repeater {
                            id: repeater
                            model: bubble.parts
                            delegate: PartView {
                                required property var modelData
                                required property int index
                                part: modelData
                                partIndex: index
                                messageId: bubble.messageId
                                conversation: bubble.ListView.view ? bubble.ListView.view.model : null
                                width: content.width
                            }
                        }
                    }

                    Row {
                        id: footer
                        anchors.right: parent.right
                        spacing: 6
                        Text {
                            textFormat: Text.PlainText
                            visible: bubble.status === "failed"
                            text: "发送失败"
                            font.pointSize: Theme.caption
                            font.bold: true
                            color: Theme.danger
                        }
                        Text { text: bubble.time; textFormat: Text.PlainText; font.pointSize: Theme.caption; color: Theme.tertiaryText }
                        Text {
                            textFormat: Text.PlainText
                            visible: bubble.outgoing && text.length > 0
                            text: bubble.statusMark(bubble.status)
                            font.pointSize: Theme.caption
                            color: bubble.status === "read" ? Theme.accent : Theme.tertiaryText
                        }
                    }
                }
            }
        }
    }
}
