import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Window
import Tessel.UI

// The main window: the rooms in a sidebar beside the content of one room, a
// menu bar, the notices, and the tour over everything.
ApplicationWindow {
    id: window
    required property AppSession session
    required property ShellModel shell
    required property GuideModel guide
    required property ThemeModel theme
    required property PreferencesModel preferences
    property bool quiet: false

    width: 1180
    height: 760
    minimumWidth: 900
    minimumHeight: 600
    visible: !quiet
    title: shell.roomTitle + " – Tessel"
    color: preferences.translucent ? "transparent" : Style.theme.background

    Component.onCompleted: Style.theme = window.theme

    palette.window: theme.background
    palette.windowText: theme.text
    palette.base: theme.surface
    palette.alternateBase: theme.background
    palette.text: theme.text
    palette.button: theme.surface
    palette.buttonText: theme.text
    palette.highlight: theme.accent
    palette.highlightedText: "white"
    palette.placeholderText: theme.secondaryText
    palette.toolTipBase: theme.surface
    palette.toolTipText: theme.text
    palette.mid: theme.outline
    palette.dark: theme.secondaryText
    palette.light: theme.surface

    menuBar: MenuBar {
        Menu {
            title: "&Tessel"
            Action { text: "Settings…"; shortcut: "Ctrl+,"; onTriggered: settingsWindow.show() }
            Action { text: "Show the Tour"; onTriggered: window.guide.start() }
            MenuSeparator {}
            Action { text: "Quit Tessel"; shortcut: StandardKey.Quit; onTriggered: Qt.quit() }
        }
        Menu {
            title: "&Edit"
            // One history for every room that moves things to the Trash.
            Action {
                text: "Undo Move to Trash"
                shortcut: StandardKey.Undo
                enabled: window.session.removal.canUndo
                onTriggered: window.session.removal.undo()
            }
        }
        Menu {
            title: "&Scan"
            Action { text: "Scan Again"; shortcut: "Ctrl+R"; onTriggered: window.session.scan.start() }
            Action { text: "Choose Folder…"; shortcut: StandardKey.Open; onTriggered: window.session.scan.chooseFolder() }
            Action { text: "Home Folder"; onTriggered: window.session.scan.scan(window.session.scan.homeFolder) }
        }
        Menu {
            title: "&Go"
            Action { text: "Overview"; shortcut: "Ctrl+1"; onTriggered: window.shell.room = "overview" }
            Action { text: "Space Map"; shortcut: "Ctrl+2"; onTriggered: window.shell.room = "map" }
            Action { text: "Search"; shortcut: "Ctrl+3"; onTriggered: window.shell.room = "search" }
            Action { text: "Large Files"; shortcut: "Ctrl+4"; onTriggered: window.shell.room = "large" }
        }
        Menu {
            title: "&Help"
            Action { text: "Tessel Help"; onTriggered: window.shell.openHelp() }
            Action { text: "Contact Support"; onTriggered: window.shell.contactSupport() }
        }
    }

    Sidebar {
        id: sidebar
        width: Style.sidebarWidth
        height: parent.height
        shell: window.shell
        overview: window.session.overview
        translucent: window.preferences.translucent
    }

    Rectangle {
        id: content
        anchors.left: sidebar.right
        anchors.right: parent.right
        height: parent.height
        color: Style.theme.background

        TopBar {
            id: topBar
            width: parent.width
            shell: window.shell
            scan: window.session.scan
        }

        Loader {
            id: roomLoader
            anchors.top: topBar.bottom
            anchors.bottom: parent.bottom
            width: parent.width
            sourceComponent: {
                if (window.session.permissions.asking) return accessView
                if (window.session.scan.stage === ScanCoordinator.Failed) return failureView
                if (window.shell.room === "overview") return overviewRoom
                if (window.shell.room === "map") return mapRoom
                if (window.shell.room === "large") return largeFilesRoom
                if (window.shell.room === "search") return searchRoom
                if (window.shell.room === "hidden") return hiddenFilesRoom
                if (window.shell.room === "duplicates") return duplicatesRoom
                if (window.shell.room === "junk") return junkRoom
                if (window.shell.room === "leftovers") return leftoversRoom
                if (window.shell.room === "startup") return startupRoom
                if (window.shell.room === "systemData") return systemDataRoom
                if (window.shell.room === "aiData") return aiDataRoom
                if (window.shell.room === "apps") return uninstallRoom
                if (window.shell.room === "unused") return unusedAppsRoom
                if (window.shell.room === "report" || window.shell.room === "changes") return reportRoom
                if (window.shell.room === "monitor") return monitorRoom
                return comingRoom
            }
        }
    }

    Component {
        id: overviewRoom
        OverviewRoom {
            session: window.session
            shell: window.shell
        }
    }
    Component {
        id: mapRoom
        MapRoom {
            session: window.session
            theme: window.theme
        }
    }
    Component {
        id: largeFilesRoom
        LargeFilesRoom { session: window.session }
    }
    Component {
        id: searchRoom
        SearchRoom { session: window.session }
    }
    Component {
        id: hiddenFilesRoom
        HiddenFilesRoom { session: window.session }
    }
    Component {
        id: duplicatesRoom
        DuplicatesRoom { session: window.session }
    }
    Component {
        id: junkRoom
        JunkRoom { session: window.session }
    }
    Component {
        id: leftoversRoom
        LeftoversRoom { session: window.session }
    }
    Component {
        id: startupRoom
        StartupRoom { session: window.session }
    }
    Component {
        id: systemDataRoom
        SystemDataRoom { session: window.session }
    }
    Component {
        id: aiDataRoom
        AIDataRoom { session: window.session }
    }
    Component {
        id: uninstallRoom
        UninstallRoom { session: window.session }
    }
    Component {
        id: unusedAppsRoom
        UnusedAppsRoom {
            session: window.session
            shell: window.shell
        }
    }
    Component {
        id: reportRoom
        ReportRoom {
            session: window.session
            // "Changes" has no row of its own: it is the report's first tab.
            Component.onCompleted: if (window.shell.room === "changes") session.tools.reportTab = "changes"
        }
    }
    Component {
        id: monitorRoom
        MonitorRoom { session: window.session }
    }
    Component {
        id: comingRoom
        ComingRoom {
            shell: window.shell
            symbol: {
                for (const section of window.shell.sections)
                    for (const item of section.items)
                        if (item.room === window.shell.room) return item.symbol
                return "square.grid.2x2"
            }
        }
    }
    Component {
        id: failureView
        FailureView { scan: window.session.scan }
    }
    Component {
        id: accessView
        AccessView { permissions: window.session.permissions }
    }

    RemovalSheet { removal: window.session.removal }
    ShortFoldersSheet { id: shortFoldersSheet; session: window.session }
    function closeShortFolders() { shortFoldersSheet.close() }
    function openSettings() { settingsWindow.show(); settingsWindow.raise(); settingsWindow.requestActivate() }

    NoticeStack {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 20
        // Above the room's own bar of actions, never over its buttons.
        anchors.bottomMargin: 20 + (roomLoader.item && roomLoader.item.actionBarHeight ? roomLoader.item.actionBarHeight : 0)
        notices: window.session.notifications
    }

    GuideOverlay {
        anchors.fill: parent
        guide: window.guide
        targets: ({
            scan: topBar.scanButton,
            optimize: topBar.optimizeButton,
            source: topBar.sourceButton,
            spaceMap: sidebar.spaceMapItem,
            cleanUp: sidebar.cleanUpItem,
            disk: sidebar.diskCard
        })
    }

    FolderDialog {
        id: folderDialog
        property string message
        title: message
        onAccepted: {
            const path = decodeURIComponent(selectedFolder.toString().replace(/^file:\/\//, ""))
            window.session.scan.scan(path)
        }
    }

    SettingsWindow {
        id: settingsWindow
        preferences: window.preferences
        theme: window.theme
        transientParent: window
    }

    Connections {
        target: window.session.scan
        function onFolderChoiceRequested(prompt, message) {
            folderDialog.acceptLabel = prompt
            folderDialog.message = message
            folderDialog.open()
        }
    }
    Connections {
        target: window.session
        function onShortFoldersRequested(title, count) { shortFoldersSheet.show(title, count) }
    }
    Connections {
        target: window.shell
        function onRaiseRequested() {
            window.show()
            window.raise()
            window.requestActivate()
        }
    }
}
