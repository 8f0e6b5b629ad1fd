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
    // On the Mac the readings stand beside the icon; a Linux tray shows them in the icon and its tooltip.
    readonly property string withTheIcon: Qt.platform.os === "osx" ? "Beside the icon" : "With the icon"
    readonly property string menuBarNote: window.preferences.trayAvailable
        ? "Click the icon for a panel of the readings. The readings you choose below are the only ones read while the panel is closed."
        : "This desktop has no " + trayName + " to show an icon in, so Tessel can't show one."
    readonly property bool trayShown: window.preferences.trayAvailable && window.preferences.menuBarExtra
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
                    Toggle {
                        enabled: window.preferences.trayAvailable
                        checked: window.preferences.trayAvailable && window.preferences.menuBarExtra
                        onToggled: window.preferences.menuBarExtra = checked
                    }
                }
                Row_ {
                    label: window.withTheIcon + ": Free space"
                    Toggle {
                        enabled: window.trayShown
                        checked: window.preferences.menuBarFreeSpace
                        onToggled: window.preferences.menuBarFreeSpace = checked
                    }
                }
                Row_ {
                    label: window.withTheIcon + ": CPU"
                    Toggle {
                        enabled: window.trayShown
                        checked: window.preferences.menuBarCpu
                        onToggled: window.preferences.menuBarCpu = checked
                    }
                }
                Row_ {
                    label: window.withTheIcon + ": Memory"
                    Toggle {
                        enabled: window.trayShown
                        checked: window.preferences.menuBarMemory
                        onToggled: window.preferences.menuBarMemory = checked
                    }
                }
                Row_ {
                    label: window.withTheIcon + ": Network"
                    Toggle {
                        enabled: window.trayShown
                        checked: window.preferences.menuBarNetwork
                        onToggled: window.preferences.menuBarNetwork = checked
                    }
                }
                Row_ {
                    label: window.withTheIcon + ": Battery"
                    Toggle {
                        enabled: window.trayShown
                        checked: window.preferences.menuBarBattery
                        onToggled: window.preferences.menuBarBattery = checked
                    }
                }
                Row_ {
                    label: "Panel look"
                    last: true
                    Segmented {
                        enabled: window.trayShown
                        options: [["cards", "Cards"], ["dashboard", "Dashboard"]]
                        value: window.preferences.panelStyle
                        onPicked: function(value) { window.preferences.panelStyle = value }
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
