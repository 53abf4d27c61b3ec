pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// The conversation list: a search field over the filtered sessions, newest first.
Rectangle {
    id: sidebar
    required property MainViewModel vm
    color: "#ececef"

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TextField {
            id: search
            objectName: "searchField"
            Layout.fillWidth: true
            Layout.margins: 10
            placeholderText: "搜索会话和消息"
            text: sidebar.vm.searchText
            onTextEdited: sidebar.vm.searchText = text
        }

        ListView {
            id: list
            objectName: "sessionList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: sidebar.vm.sessions
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar { }

            delegate: Rectangle {
                id: row
                required property string peer
                required property string title
                required property string preview
                required property string listTime
                required property int unread
                readonly property bool selected: sidebar.vm.selectedPeer === peer
                width: ListView.view.width
                height: 62
                color: selected ? "#d4e3fb" : hover.hovered ? "#e2e2e7" : "transparent"

                HoverHandler { id: hover }
                TapHandler { onTapped: sidebar.vm.selectConversation(row.peer) }

                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 12
                    anchors.rightMargin: 12
                    spacing: 10

                    PeerAvatar { handle: row.peer; size: 38 }

                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 3
                        RowLayout {
                            Layout.fillWidth: true
                            Text {
                                textFormat: Text.PlainText
                                Layout.fillWidth: true
                                text: row.title
                                font.pixelSize: 14
                                font.bold: true
                                color: "#1d1d1f"
                                elide: Text.ElideRight
                            }
                            Text { textFormat: Text.PlainText; text: row.listTime; font.pixelSize: 11; color: "#86868b" }
                        }
                        RowLayout {
                            Layout.fillWidth: true
                            Text {
                                Layout.fillWidth: true
                                text: row.preview
                                font.pixelSize: 12
                                color: "#6e6e73"
                                elide: Text.ElideRight
                                maximumLineCount: 1
                                textFormat: Text.PlainText
                            }
                            Rectangle {
                                visible: row.unread > 0
                                radius: height / 2
                                color: "#e5484d"
                                implicitHeight: 18
                                implicitWidth: Math.max(18, badge.implicitWidth + 10)
                                Text {
                                    id: badge
                                    textFormat: Text.PlainText
                                    anchors.centerIn: parent
                                    text: row.unread > 99 ? "99+" : row.unread
                                    color: "white"
                                    font.pixelSize: 11
                                    font.bold: true
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}
