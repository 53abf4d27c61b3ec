import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillmote.Ui

// The main window: the offline view while the state server is unreachable, otherwise the
// conversation list beside one conversation, the own profile or the empty state.
// Ctrl+W closes the window (it is only hidden).
ThemedPane {
    id: root
    required property MainViewModel vm

    Shortcut {
        sequences: ["Ctrl+W"]
        onActivated: root.Window.window.close()
    }

    ServerOfflineView {
        anchors.fill: parent
        visible: root.vm.offline
        vm: root.vm
    }

    SplitView {
        anchors.fill: parent
        visible: !root.vm.offline
        orientation: Qt.Horizontal

        SessionSidebar {
            id: sidebar
            objectName: "sidebar"
            vm: root.vm
            SplitView.preferredWidth: 290
            SplitView.minimumWidth: 230
            SplitView.maximumWidth: 420
        }

        ColumnLayout {
            SplitView.fillWidth: true
            spacing: 0

            DetailToolbar {
                vm: root.vm
                Layout.fillWidth: true
            }

            Loader {
                Layout.fillWidth: true
                Layout.fillHeight: true
                sourceComponent: root.vm.detail === "conversation" ? conversationPage
                               : root.vm.detail === "profile" ? profilePage : emptyPage
            }
        }
    }

    // The list has the keys when the window opens.
    Component.onCompleted: sidebar.focusList()

    // Qt 6.4's Loader cannot create bound components, so the pages reach the view model by id.
    // qmllint disable unqualified
    Component { id: conversationPage; ConversationView { vm: root.vm } }
    Component { id: profilePage; ProfileView { vm: root.vm } }
    // qmllint enable unqualified
    Component { id: emptyPage; EmptyDetailView { } }
}
