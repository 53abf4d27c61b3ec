import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// The conversation list: a search field over the filtered sessions, newest first.
// Keyboard: Ctrl+F searches, Esc clears the search and then leaves it, Up and Down move
// through the rows and Enter opens one.
Rectangle {
    id: sidebar
    required property MainViewModel vm
    color: Theme.sidebar

    function focusSearch() {
        search.forceActiveFocus()
        search.selectAll()
    }
    function focusList() {
        list.forceActiveFocus()
    }

    Shortcut {
        sequences: ["Ctrl+F"]
        onActivated: sidebar.focusSearch()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TextField {
            id: search
            objectName: "searchField"
            Layout.fillWidth: true
            Layout.margins: 10
            placeholderText: "搜索会话和消息"
            font.pointSize: Theme.body
            text: sidebar.vm.searchText
            onTextEdited: sidebar.vm.searchText = text
            Accessible.name: "搜索会话和消息"
            Keys.onEscapePressed: (event) => {
                if (text.length > 0)
                    sidebar.vm.searchText = ""
                else
                    sidebar.focusList()
            }
            Keys.onDownPressed: sidebar.focusList()
            Keys.onReturnPressed: sidebar.focusList()

            TextMenu { target: search }
        }

        ListView {
            id: list
            objectName: "sessionList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: sidebar.vm.sessions
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationEnabled: true
            activeFocusOnTab: true
            currentIndex: -1
            highlightMoveDuration: 0
            ScrollBar.vertical: ScrollBar { }
            Accessible.role: Accessible.List
            Accessible.name: "会话列表"

            // The current row follows the selection; the keys move it and Enter opens it.
            function syncCurrent() {
                const at = sidebar.vm.sessions.rowOf(sidebar.vm.selectedPeer)
                if (at >= 0)
                    currentIndex = at
            }
            Connections {
                target: sidebar.vm
                function onSelectionChanged() { list.syncCurrent() }
            }
            // qmllint disable type
            Keys.onReturnPressed: {
                if (currentItem)
                    sidebar.vm.selectConversation(currentItem.peer)
            }
            Keys.onEnterPressed: {
                if (currentItem)
                    sidebar.vm.selectConversation(currentItem.peer)
            }
            // qmllint enable type
            onActiveFocusChanged: {
                if (activeFocus && currentIndex < 0 && count > 0)
                    currentIndex = 0
            }

            delegate: Rectangle {
                id: row
                required property int index
                required property string peer
                required property string title
                required property string preview
                required property string listTime
                required property string spoken
                required property int unread
                // qmllint disable unqualified
                readonly property bool selected: sidebar.vm.selectedPeer === peer
                readonly property bool current: ListView.isCurrentItem && list.activeFocus
                // qmllint enable unqualified
                width: ListView.view.width
                height: Math.max(62, textColumn.implicitHeight + 20)
                color: selected ? Theme.selected : hover.hovered || current ? Theme.hover : "transparent"
                Accessible.role: Accessible.ListItem
                Accessible.name: spoken
                Accessible.selected: selected
                Accessible.focused: current

                Rectangle {
                    visible: row.current
                    anchors.fill: parent
                    color: "transparent"
                    border.color: Theme.accent
                    border.width: 2
                }

                HoverHandler { id: hover }
                TapHandler {
                    onTapped: {
                        // qmllint disable unqualified
                        list.currentIndex = row.index
                        // qmllint enable unqualified
                        sidebar.vm.selectConversation(row.peer)
                    }
                }

                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: 12
                    anchors.rightMargin: 12
                    spacing: 10

                    PeerAvatar { handle: row.peer; size: 38 }

                    ColumnLayout {
                        id: textColumn
                        Layout.fillWidth: true
                        spacing: 3
                        RowLayout {
                            Layout.fillWidth: true
                            Text {
                                textFormat: Text.PlainText
                                Layout.fillWidth: true
                                text: row.title
                                font.pointSize: Theme.body
                                font.bold: true
                                color: Theme.text
                                elide: Text.ElideRight
                            }
                            Text {
                                text: row.listTime
                                textFormat: Text.PlainText
                                font.pointSize: Theme.caption
                                color: Theme.tertiaryText
                            }
                        }
                        RowLayout {
                            Layout.fillWidth: true
                            Text {
                                Layout.fillWidth: true
                                text: row.preview
                                font.pointSize: Theme.small
                                color: Theme.secondaryText
                                elide: Text.ElideRight
                                maximumLineCount: 1
                                textFormat: Text.PlainText
                            }
                            Rectangle {
                                visible: row.unread > 0
                                radius: height / 2
                                color: Theme.danger
                                implicitHeight: badge.implicitHeight + 4
                                implicitWidth: Math.max(implicitHeight, badge.implicitWidth + 10)
                                Accessible.role: Accessible.StaticText
                                Accessible.name: row.unread + " 条未读"
                                Text {
                                    id: badge
                                    textFormat: Text.PlainText
                                    anchors.centerIn: parent
                                    text: row.unread > 99 ? "99+" : row.unread
                                    color: "white"
                                    font.pointSize: Theme.caption
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
