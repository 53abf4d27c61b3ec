import QtQuick
import QtQuick.Controls
import Quillmote.Ui

// The notch overlay: a black shape hanging from the top edge, a compact strip while a
// message is announced, a card of quick actions when expanded. It only reads the model
// and reports to it; every change it animates comes with the controller's timing.
Item {
    id: root
    required property NotchViewModel notch

    readonly property string state_: root.notch.stateName
    readonly property bool expanded: state_ === "expanded"
    readonly property bool compact: state_ === "compact"
    property bool replyFocused: false
    property bool closeHovering: false

    readonly property real compactWidth: root.notch.hasNotch
        ? (root.notch.isPulse ? 60 : 190) + root.notch.notchWidth + 60
        : (root.notch.isPulse ? 132 : 320)
    readonly property real compactHeight: root.notch.hasNotch ? root.notch.notchHeight + 28 : 44
    readonly property real expandedWidth: 440
    readonly property real expandedHeight: card.implicitHeight + 2 * card.padding

    readonly property real targetWidth: expanded ? expandedWidth : compact ? compactWidth : compactWidth * 0.6
    readonly property real targetHeight: expanded ? expandedHeight : compact ? compactHeight : 0

    Accessible.role: Accessible.Notification
    Accessible.name: root.notch.accessibleLabel
    Accessible.description: "移入展开查看快捷操作"

    NotchShape {
        id: shape
        objectName: "shape"
        anchors.top: parent.top
        anchors.horizontalCenter: parent.horizontalCenter
        width: root.targetWidth
        height: root.targetHeight
        topRadius: root.notch.topRadius
        bottomRadius: root.notch.bottomRadius
        clip: true

        Behavior on width {
            NumberAnimation {
                duration: root.notch.stateMotion.duration
                easing.type: root.notch.stateMotion.easing
                easing.overshoot: root.notch.stateMotion.overshoot
            }
        }
        Behavior on height {
            NumberAnimation {
                duration: root.notch.stateMotion.duration
                easing.type: root.notch.stateMotion.easing
                easing.overshoot: root.notch.stateMotion.overshoot
            }
        }

        // The window follows the shape as it animates.
        onWidthChanged: root.reportSize()
        onHeightChanged: root.reportSize()

        MouseArea {
            // A click on the compact strip opens and pins the card. The open card takes no
            // such click: there the user reads, selects and types.
            anchors.fill: parent
            enabled: root.compact
            onClicked: root.notch.action("expand")
        }

        // Compact strip
        Item {
            id: strip
            anchors.top: parent.top
            anchors.horizontalCenter: parent.horizontalCenter
            width: root.compactWidth
            height: root.compactHeight
            opacity: root.compact ? 1 : 0
            visible: opacity > 0
            Behavior on opacity {
                NumberAnimation { duration: root.notch.stateMotion.duration * 0.6; easing.type: Easing.OutQuad }
            }

            AvatarView {
                id: stripAvatar
                anchors.left: parent.left
                anchors.leftMargin: 10
                anchors.verticalCenter: parent.verticalCenter
                size: 26
                initials: root.notch.initials
                tint: root.notch.avatarColor
                attention: root.compact
            }
            Text {
                textFormat: Text.PlainText
                anchors.left: stripAvatar.right
                anchors.leftMargin: 10
                anchors.right: stripDot.left
                anchors.rightMargin: 10
                anchors.verticalCenter: parent.verticalCenter
                visible: !root.notch.isPulse
                text: root.notch.title
                color: "white"
                font.pixelSize: 13
                font.bold: true
                elide: Text.ElideRight
            }
            LiveDot {
                id: stripDot
                anchors.right: stripCount.left
                anchors.rightMargin: 8
                anchors.verticalCenter: parent.verticalCenter
                pulsing: root.compact && !root.notch.reduceMotion
            }
            Text {
                id: stripCount
                textFormat: Text.PlainText
                anchors.right: parent.right
                anchors.rightMargin: 14
                anchors.verticalCenter: parent.verticalCenter
                text: root.notch.unread
                color: "#ff9f0a"
                font.pixelSize: 13
                font.bold: true
            }
        }

        // Expanded card
        Column {
            id: card
            property real padding: 16
            x: padding
            y: padding
            width: root.expandedWidth - 2 * padding
            spacing: 10
            opacity: root.expanded ? 1 : 0
            visible: opacity > 0
            Behavior on opacity {
                NumberAnimation { duration: root.notch.stateMotion.duration * 0.8; easing.type: Easing.OutQuad }
            }

            Item {
                width: parent.width
                height: 34
                AvatarView {
                    id: cardAvatar
                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                    size: 32
                    initials: root.notch.initials
                    tint: root.notch.avatarColor
                }
                Column {
                    anchors.left: cardAvatar.right
                    anchors.leftMargin: 10
                    anchors.right: feedbackLabel.left
                    anchors.rightMargin: 8
                    anchors.verticalCenter: parent.verticalCenter
                    Text {
                        textFormat: Text.PlainText
                        width: parent.width
                        text: root.notch.title
                        color: "white"
                        font.pixelSize: 14
                        font.bold: true
                        elide: Text.ElideRight
                    }
                    Text {
                        textFormat: Text.PlainText
                        width: parent.width
                        visible: root.notch.title !== "@" + root.notch.sender || root.notch.queued > 0
                        text: "@" + root.notch.sender + (root.notch.queued > 0 ? "  ·  还有 " + root.notch.queued + " 条" : "")
                        color: "#98989d"
                        font.pixelSize: 11
                        elide: Text.ElideRight
                    }
                }
                Text {
                    id: feedbackLabel
                    textFormat: Text.PlainText
                    anchors.right: closeDot.left
                    anchors.rightMargin: 10
                    anchors.verticalCenter: parent.verticalCenter
                    text: root.notch.feedback
                    color: root.notch.feedback.indexOf("未") >= 0 ? "#ff9f0a" : "#30d158"
                    font.pixelSize: 12
                    font.bold: true
                    opacity: root.notch.hasFeedback ? 1 : 0
                    Behavior on opacity {
                        NumberAnimation {
                            duration: root.notch.feedbackMotion.duration
                            easing.type: root.notch.feedbackMotion.easing
                        }
                    }
                }
                Rectangle {
                    id: closeDot
                    objectName: "closeDot"
                    anchors.right: parent.right
                    anchors.top: parent.top
                    width: 14
                    height: 14
                    radius: 7
                    color: root.closeHovering ? "#ff6961" : "#ff453a"
                    Accessible.role: Accessible.Button
                    Accessible.name: "关闭"
                    Accessible.onPressAction: root.notch.action("dismiss")
                    Text {
                        textFormat: Text.PlainText
                        anchors.centerIn: parent
                        visible: root.closeHovering
                        text: "×"
                        color: "#4d0000"
                        font.pixelSize: 12
                        font.bold: true
                    }
                    MouseArea {
                        anchors.fill: parent
                        anchors.margins: -4
                        hoverEnabled: true
                        onContainsMouseChanged: root.closeHovering = containsMouse
                        onClicked: root.notch.action("dismiss")
                    }
                }
            }

            Text {
                textFormat: Text.PlainText
                width: parent.width
                text: root.notch.body
                color: "#e5e5ea"
                font.pixelSize: 13
                wrapMode: Text.Wrap
                maximumLineCount: 6
                elide: Text.ElideRight
            }

            Rectangle {
                visible: root.notch.hasCode
                width: parent.width
                height: code.implicitHeight + 16
                radius: 8
                color: "#1c1c1e"
                border.color: "#3a3a3c"
                Text {
                    id: code
                    textFormat: Text.PlainText
                    x: 10
                    y: 8
                    width: parent.width - 20
                    text: root.notch.codeText
                    color: "#a6e3a1"
                    font.family: "monospace"
                    font.pixelSize: 12
                    wrapMode: Text.WrapAnywhere
                    maximumLineCount: 8
                    elide: Text.ElideRight
                }
            }

            Row {
                spacing: 8
                DSActionButton {
                    system: "doc.on.doc"
                    label: "复制"
                    a11y: "复制消息内容"
                    objectName: "copyBody"
                    onAction: root.notch.action("copyBody")
                }
                DSActionButton {
                    visible: root.notch.hasCode
                    system: "chevron.left.forwardslash.chevron.right"
                    label: "复制代码"
                    a11y: "只复制代码部分"
                    objectName: "copyCode"
                    onAction: root.notch.action("copyCode")
                }
                DSActionButton {
                    system: "text.insert"
                    label: "填入终端"
                    a11y: "把内容填到终端提示符，不会执行"
                    primary: true
                    objectName: "fill"
                    onAction: root.notch.action("fill")
                }
                DSActionButton {
                    system: "arrow.up.forward.app"
                    label: "打开"
                    a11y: "在 App 中打开这条对话"
                    objectName: "openApp"
                    onAction: root.notch.action("openApp")
                }
                DSActionButton {
                    system: "arrowshape.turn.up.left"
                    label: "回复"
                    a11y: "回复这条消息"
                    visible: !root.notch.replyVisible
                    objectName: "beginReply"
                    onAction: root.notch.action("beginReply")
                }
            }

            Item {
                id: replyRow
                width: parent.width
                height: root.notch.replyVisible ? 34 : 0
                opacity: root.notch.replyVisible ? 1 : 0
                visible: height > 0
                clip: true
                Behavior on height {
                    NumberAnimation {
                        duration: root.notch.replyMotion.duration
                        easing.type: root.notch.replyMotion.easing
                        easing.overshoot: root.notch.replyMotion.overshoot
                    }
                }
                Behavior on opacity {
                    NumberAnimation { duration: root.notch.replyMotion.duration; easing.type: Easing.OutQuad }
                }

                TextField {
                    id: replyField
                    objectName: "replyField"
                    anchors.left: parent.left
                    anchors.right: sendButton.left
                    anchors.rightMargin: 8
                    height: 32
                    placeholderText: "输入回复…"
                    placeholderTextColor: "#8e8e93"
                    color: "white"
                    font.pixelSize: 13
                    leftPadding: 10
                    rightPadding: 10
                    text: root.notch.replyText
                    onTextEdited: root.notch.replyText = text
                    background: Rectangle {
                        radius: 8
                        color: "#1c1c1e"
                        border.color: replyField.activeFocus ? "#2f7bf5" : "#48484a"
                    }
                    Keys.onReturnPressed: root.notch.action("submitReply", text)
                    Keys.onEnterPressed: root.notch.action("submitReply", text)
                    Keys.onEscapePressed: root.notch.action("cancelReply")
                    onActiveFocusChanged: root.replyFocused = activeFocus
                    Accessible.name: "回复"

                    TextMenu { target: replyField }
                }
                DSActionButton {
                    id: sendButton
                    objectName: "send"
                    anchors.right: parent.right
                    anchors.verticalCenter: replyField.verticalCenter
                    system: "paperplane.fill"
                    label: "发送"
                    a11y: "发送回复"
                    primary: true
                    onAction: root.notch.action("submitReply", replyField.text)
                }
            }
        }
    }

    HoverHandler {
        id: hover
        onHoveredChanged: root.notch.hoverChanged(hovered)
    }

    Connections {
        target: root.notch
        function onReplyVisibleChanged() {
            if (root.notch.replyVisible)
                replyField.forceActiveFocus()
        }
    }

    function reportSize() {
        root.notch.contentSize(Math.ceil(shape.width), Math.ceil(shape.height))
    }
}
