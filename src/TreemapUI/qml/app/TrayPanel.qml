import QtQuick
import QtQuick.Window
import Tessel.UI

// The panel the tray icon opens: every reading as it is now, as cards or as a
// dashboard with the last minutes charted, and the ways into the app. It
// reads everything only while it is open.
Window {
    id: panel
    required property TrayModel tray

    title: "Tessel"
    width: 340
    height: content.implicitHeight + 32
    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    color: Style.theme.background
    onVisibleChanged: tray.panelOpen = visible
    onActiveChanged: {
        if (!active && visible && Qt.platform.pluginName !== "offscreen") {
            tray.noteFocusLost()
            hide()
        }
    }

    Shortcut {
        sequence: "Escape"
        onActivated: panel.hide()
    }

    Rectangle {
        anchors.fill: parent
        color: "transparent"
        border.width: 1
        border.color: Style.theme.outline
        radius: Style.radius
    }

    Column {
        id: content
        x: 16
        y: 16
        width: parent.width - 32
        spacing: 12

        Row {
            spacing: 8
            Image {
                source: "qrc:/Tessel/app-icon.svg"
                sourceSize.width: 40
                sourceSize.height: 40
                width: 20
                height: 20
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: "Tessel"
                color: Style.theme.text
                font.pixelSize: Style.headingSize
                font.weight: Font.DemiBold
                anchors.verticalCenter: parent.verticalCenter
            }
        }

        // The look the settings choose, swapped at once when the setting changes.
        Loader {
            width: parent.width
            sourceComponent: panel.tray.dashboard ? dashboard : cards
        }
        Component {
            id: cards
            PanelCards { tray: panel.tray }
        }
        Component {
            id: dashboard
            PanelDashboard { tray: panel.tray }
        }

        Column {
            width: parent.width
            spacing: 8
            ActionButton {
                width: parent.width
                text: "Open Tessel"
                prominent: true
                onClicked: panel.tray.ask("window")
            }
            Row {
                width: parent.width
                spacing: 8
                ActionButton {
                    width: (parent.width - 16) / 3
                    text: "Monitor"
                    onClicked: panel.tray.ask("monitor")
                }
                ActionButton {
                    width: (parent.width - 16) / 3
                    text: "Settings…"
                    onClicked: panel.tray.ask("settings")
                }
                ActionButton {
                    width: (parent.width - 16) / 3
                    text: "Quit"
                    onClicked: panel.tray.ask("quit")
                }
            }
        }
    }
}
