import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Tessel.UI

// One pane of settings. A switch whose feature has not arrived yet stands
// disabled, with a note saying so.
Window {
    id: window
    required property PreferencesModel preferences
    required property ThemeModel theme

    title: "Settings"
    width: 580
    height: 680
    minimumWidth: 480
    minimumHeight: 420
    color: Style.theme.background

    component SectionTitle: Text {
        color: Style.theme.secondaryText
        font.pixelSize: Style.captionSize
        font.weight: Font.DemiBold
        font.capitalization: Font.AllUppercase
        font.letterSpacing: 0.6
        leftPadding: 4
    }
    component Group: Rectangle {
        default property alias rows: column.data
        width: parent.width
        implicitHeight: column.implicitHeight
        radius: Style.radius
        color: Style.theme.surface
        border.width: 1
        border.color: Style.theme.outline
        Column {
            id: column
            width: parent.width
        }
    }
    component Row_: Item {
        id: row
        property string label
        property string note
        property bool last: false
        default property alias control: holder.data
        width: parent ? parent.width : 0
        implicitHeight: Math.max(44, textColumn.implicitHeight + 20, holder.height + 16)
        Column {
            id: textColumn
            anchors.left: parent.left
            anchors.leftMargin: 14
            anchors.right: holder.left
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3
            Text {
                width: parent.width
                text: row.label
                color: Style.theme.text
                font.pixelSize: Style.bodySize
                wrapMode: Text.Wrap
            }
            Text {
                visible: row.note.length > 0
                width: parent.width
                text: row.note
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize + 1
                wrapMode: Text.Wrap
            }
        }
        Item {
            id: holder
            anchors.right: parent.right
            anchors.rightMargin: 14
            anchors.verticalCenter: parent.verticalCenter
            width: childrenRect.width
            height: childrenRect.height
        }
        Rectangle {
            visible: !row.last
            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.leftMargin: 14
            anchors.right: parent.right
            height: 1
            color: Style.theme.outline
        }
    }
    component Toggle: ToggleSwitch {}

    // The Mac's menu bar; a Linux desktop's system tray.
    readonly property string trayName: Qt.platform.os === "osx" ? "menu bar" : "system tray"
    readonly property string menuBarNote: "The " + trayName + " panel is not part of this version yet."
    readonly property string noticesNote: "Disk alerts are not part of this version yet."

    Flickable {
        anchors.fill: parent
        contentHeight: page.implicitHeight + 48
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        Column {
            id: page
            x: 24
            y: 24
            width: parent.width - 48
            spacing: 10

            SectionTitle { text: "Login" }
            Group {
                Row_ {
                    label: "Open Tessel at login"
                    last: true
                    Toggle {
                        checked: window.preferences.openAtLogin
                        onToggled: window.preferences.openAtLogin = checked
                    }
                }
            }

            SectionTitle { text: window.trayName.charAt(0).toUpperCase() + window.trayName.slice(1); topPadding: 10 }
            Group {
                Row_ {
                    label: "Show Tessel in the " + window.trayName
                    note: window.menuBarNote
                    Toggle { enabled: false; checked: window.preferences.menuBarExtra }
                }
                Row_ { label: "Beside the icon: Free space"; Toggle { enabled: false; checked: window.preferences.menuBarFreeSpace } }
                Row_ { label: "Beside the icon: CPU"; Toggle { enabled: false; checked: window.preferences.menuBarCpu } }
                Row_ { label: "Beside the icon: Memory"; Toggle { enabled: false; checked: window.preferences.menuBarMemory } }
                Row_ { label: "Beside the icon: Network"; Toggle { enabled: false; checked: window.preferences.menuBarNetwork } }
                Row_ { label: "Beside the icon: Battery"; Toggle { enabled: false; checked: window.preferences.menuBarBattery } }
                Row_ {
                    label: "Panel look"
                    last: true
                    Segmented {
                        enabled: false
                        options: [["cards", "Cards"], ["dashboard", "Dashboard"]]
                        value: window.preferences.panelStyle
                    }
                }
            }

            SectionTitle { text: "Permissions"; topPadding: 10 }
            Group {
                Row_ {
                    label: "Full Disk Access"
                    note: "Linux has no such permission: Tessel reads whatever your user account can read, and counts what it can't as unreadable."
                    last: true
                    Text {
                        text: "Not needed"
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                    }
                }
            }

            SectionTitle { text: "Notices"; topPadding: 10 }
            Group {
                Row_ {
                    label: "Tell me when the disk is almost full"
                    note: window.noticesNote
                    Toggle { enabled: false; checked: window.preferences.lowDiskAlerts }
                }
                Row_ {
                    label: "Almost full means under " + window.preferences.lowDiskPercent + "% free"
                    Slider {
                        enabled: false
                        opacity: 0.45
                        from: 2
                        to: 20
                        stepSize: 1
                        value: window.preferences.lowDiskPercent
                        width: 180
                    }
                }
                Row_ {
                    label: "Remind me weekly when junk has built up"
                    note: window.noticesNote
                    last: true
                    Toggle { enabled: false; checked: window.preferences.weeklyJunk }
                }
            }

            SectionTitle { text: "Updates"; topPadding: 10 }
            Group {
                Row_ {
                    label: "Update Tessel automatically"
                    note: "On Linux, Tessel is updated by your system's package manager."
                    Toggle { enabled: false; checked: false }
                }
                Row_ {
                    label: "Check for a new version"
                    last: true
                    ActionButton { enabled: false; text: "Check Now" }
                }
            }

            SectionTitle { text: "Appearance"; topPadding: 10 }
            Group {
                Row_ {
                    label: "Theme"
                    Segmented {
                        options: [["system", "System"], ["light", "Light"], ["dark", "Dark"]]
                        value: window.theme.choice
                        onPicked: function(value) { window.theme.choice = value }
                    }
                }
                Row_ {
                    label: "Translucent window"
                    note: "Lets the desktop show through the sidebar, where the window manager allows it."
                    last: true
                    Toggle {
                        checked: window.preferences.translucent
                        onToggled: window.preferences.translucent = checked
                    }
                }
            }
        }
    }
}
