pragma ComponentBehavior: Bound

import QtQuick

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
            height: visible ? 30 : 0
            Rectangle {
                anchors.centerIn: parent
                width: separatorText.implicitWidth + 18
                height: 20
                radius: 10
                color: "#e4e4e8"
                Text {
                    id: separatorText
                    textFormat: Text.PlainText
                    anchors.centerIn: parent
                    text: bubble.separator
                    font.pixelSize: 11
                    color: "#6e6e73"
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
                color: bubble.outgoing ? "#d9e8ff" : "#ffffff"
                border.color: bubble.status === "failed" ? "#e5484d" : bubble.outgoing ? "#c3d8fa" : "#e2e2e7"

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
                        font.pixelSize: 10
                        font.family: "monospace"
                        color: "#86868b"
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
                            font.pixelSize: 11
                            font.bold: true
                            color: "#e5484d"
                        }
                        Text { textFormat: Text.PlainText; text: bubble.time; font.pixelSize: 10; color: "#86868b" }
                        Text {
                            textFormat: Text.PlainText
                            visible: bubble.outgoing && text.length > 0
                            text: bubble.statusMark(bubble.status)
                            font.pixelSize: 10
                            color: bubble.status === "read" ? "#3d7bd9" : "#86868b"
                        }
                    }
                }
            }
        }
    }
}
