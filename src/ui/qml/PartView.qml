import QtQuick
import QtQuick.Controls
import Quillmote.Ui

// One content part of a bubble, by its kind.
Item {
    id: partView
    required property var part
    // Where more of a long text comes from: the conversation model, the message and the
    // part's place in it.
    property ConversationModel conversation: null
    property string messageId: ""
    property int partIndex: 0
    // Width the part would like without wrapping; the bubble sizes itself from it.
    // qmllint disable type
    readonly property real naturalWidth: loader.item ? loader.item.naturalWidth : 0
    // Code and structured payloads take the widest bubble.
    readonly property real wide: 100000
    // A long text comes as a preview and its whole length; each "显示更多" fetches a
    // bounded step more, so a huge message never has to be laid out at once.
    readonly property int fullLength: part.length || 0
    property string more: ""
    readonly property bool cut: fullLength > 0 && more.length < fullLength
    readonly property int step: 100000
    // Characters of the text a cut preview holds (the model's 4000 end in an ellipsis).
    readonly property int shownChars: more.length > 0 ? more.length - 1 : 3999
    implicitHeight: (loader.item ? loader.item.implicitHeight : 0) + (moreLink.visible ? moreLink.implicitHeight + 6 : 0)
    // qmllint enable type
    height: implicitHeight

    function shown(preview) {
        return more.length > 0 ? more : preview
    }
    function showMore() {
        more = conversation.partText(messageId, partIndex, shownChars + 1 + step)
    }

    function pick(kind) {
        switch (kind) {
        case "text": return textPart
        case "code": return codePart
        case "file": return filePart
        case "image": return imagePart
        case "data": return jsonPart
        case "tool_call": return jsonPart
        case "tool_result": return jsonPart
        default: return jsonPart
        }
    }

    Loader {
        id: loader
        width: parent.width
        sourceComponent: partView.pick(partView.part.kind)
    }

    Text {
        id: moreLink
        objectName: "showMore"
        textFormat: Text.PlainText
        y: loader.height + 6
        visible: partView.cut && partView.conversation !== null
        readonly property int remaining: partView.fullLength - partView.shownChars
        text: (remaining <= partView.step ? "显示全部" : "显示更多") + "（还有 " + remaining + " 字）"
        font.pointSize: Theme.small
        color: Theme.accent
        Accessible.role: Accessible.Link
        Accessible.name: text
        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.PointingHandCursor
            onClicked: partView.showMore()
        }
    }

    // The parts below reach this file's ids (partView, loader) from inside their Components,
    // which QML allows and qmllint 6.4 cannot follow; parent.parent is the part's own root.
    // qmllint disable unqualified type
    Component {
        id: textPart
        SelectableText {
            objectName: "partText"
            // Measured apart from the wrapped text, whose size follows the bubble's width.
            readonly property real naturalWidth: measure.implicitWidth
            Text { id: measure; visible: false; text: parent.text; font: parent.font; textFormat: Text.PlainText }
            width: loader.width
            text: partView.shown(partView.part.text || "")
        }
    }

    Component {
        id: codePart
        Rectangle {
            readonly property real naturalWidth: partView.wide
            width: loader.width
            implicitHeight: codeColumn.implicitHeight + 16
            radius: 8
            color: Theme.code
            Column {
                id: codeColumn
                x: 10
                y: 8
                width: parent.width - 20
                spacing: 4
                Item {
                    width: parent.width
                    height: Math.max(header.implicitHeight, copyButton.implicitHeight)
                    Text {
                        id: header
                        anchors.left: parent.left
                        anchors.verticalCenter: parent.verticalCenter
                        text: [partView.part.lang || "code", partView.part.path || ""].filter(s => s.length > 0).join(" · ")
                        textFormat: Text.PlainText
                        font.pointSize: Theme.caption
                        font.family: "monospace"
                        color: Theme.codeHeader
                    }
                    Button {
                        id: copyButton
                        objectName: "copyCode"
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        flat: true
                        padding: 2
                        text: copied ? "已复制" : "复制"
                        property bool copied: false
                        font.pointSize: Theme.caption
                        palette.buttonText: Theme.codeHeader
                        Accessible.name: "复制代码"
                        ToolTip.visible: hovered
                        ToolTip.text: "复制这段代码"
                        onClicked: {
                            codeText.selectAll()
                            codeText.copy()
                            codeText.deselect()
                            copied = true
                            copiedTimer.restart()
                        }
                        Timer { id: copiedTimer; interval: 1500; onTriggered: copyButton.copied = false }
                    }
                }
                SelectableText {
                    id: codeText
                    objectName: "codeText"
                    width: parent.width
                    text: partView.shown(partView.part.code || "")
                    wrapMode: TextEdit.WrapAnywhere
                    font.family: "monospace"
                    font.pointSize: Theme.codeSize
                    color: Theme.codeText
                    selectedTextColor: Theme.codeText
                }
            }
        }
    }

    Component {
        id: filePart
        Row {
            readonly property real naturalWidth: implicitWidth
            spacing: 10
            Rectangle {
                width: 36
                height: 40
                radius: 6
                color: Theme.pill
                border.color: Theme.border
                Text { anchors.centerIn: parent; text: "▣"; font.pointSize: Theme.large; color: Theme.tertiaryText }
            }
            Column {
                anchors.verticalCenter: parent.verticalCenter
                spacing: 2
                Text { textFormat: Text.PlainText; text: partView.part.name || "file"; font.pointSize: Theme.body; font.bold: true; color: Theme.text }
                Text {
                    textFormat: Text.PlainText
                    text: [partView.part.size || "—", partView.part.mime || ""].filter(s => s.length > 0).join(" · ")
                    font.pointSize: Theme.caption
                    color: Theme.secondaryText
                }
            }
        }
    }

    Component {
        id: imagePart
        Column {
            readonly property real naturalWidth: 320
            spacing: 4
            Image {
                id: picture
                visible: source.toString().length > 0
                source: partView.part.source || ""
                asynchronous: true

                fillMode: Image.PreserveAspectFit
                width: Math.min(loader.width, 320)
                height: status === Image.Ready ? Math.min(240, implicitHeight * width / Math.max(1, implicitWidth)) : 0
                sourceSize.width: 640
            }
            Rectangle {
                visible: !picture.visible || picture.status === Image.Error
                width: Math.min(loader.width, 200)
                height: 90
                radius: 8
                color: Theme.pill
                border.color: Theme.border
                Text { anchors.centerIn: parent; text: "▢"; font.pointSize: Theme.large * 1.6; color: Theme.tertiaryText }
            }
            Text {
                id: altText
                textFormat: Text.PlainText
                visible: text.length > 0
                width: loader.width
                text: [partView.part.alt || "", partView.part.size || ""].filter(s => s.length > 0).join(" · ")
                wrapMode: Text.Wrap
                font.pointSize: Theme.caption
                color: Theme.secondaryText
            }
        }
    }

    // Structured payloads: data, tool calls and results, and kinds this app does not know.
    Component {
        id: jsonPart
        Rectangle {
            readonly property string kind: partView.part.kind
            readonly property string title: kind === "data" ? "数据" + (partView.part.mime ? " · " + partView.part.mime : "")
                : kind === "tool_call" ? "⚙ 工具调用 · " + (partView.part.name || "tool call")
                : kind === "tool_result" ? (partView.part.ok ? "工具结果 · 成功" : "工具结果 · 失败")
                : "未知内容 · " + (partView.part.kind || "")
            readonly property string body: partView.shown(kind === "data" ? (partView.part.json || "")
                : kind === "tool_call" ? (partView.part.args || "")
                : kind === "tool_result" ? (partView.part.result || "")
                : (partView.part.raw || ""))
            readonly property color accent: kind === "tool_result" ? (partView.part.ok ? "#2f9e6f" : Theme.danger) : Theme.tertiaryText
            readonly property real naturalWidth: partView.wide
            width: loader.width
            implicitHeight: jsonColumn.implicitHeight + 16
            radius: 8
            color: Theme.payload
            border.color: Theme.dark ? Qt.darker(accent, 1.6) : Qt.lighter(accent, 1.6)
            Column {
                id: jsonColumn
                x: 10
                y: 8
                width: parent.width - 20
                spacing: 4
                Text {
                    id: titleText
                    textFormat: Text.PlainText
                    text: parent.parent.title + (partView.part.callId ? "  #" + partView.part.callId : "")
                    font.pointSize: Theme.caption
                    font.bold: true
                    color: parent.parent.accent
                }
                SelectableText {
                    id: bodyText
                    visible: text.length > 0
                    width: parent.width
                    text: parent.parent.body
                    wrapMode: TextEdit.WrapAnywhere
                    font.family: "monospace"
                    font.pointSize: Theme.caption
                }
                Text {
                    id: errorText
                    textFormat: Text.PlainText
                    visible: text.length > 0
                    width: parent.width
                    text: partView.part.error || ""
                    wrapMode: Text.Wrap
                    font.pointSize: Theme.small
                    color: Theme.danger
                }
            }
        }
    }
    // qmllint enable unqualified type
}
