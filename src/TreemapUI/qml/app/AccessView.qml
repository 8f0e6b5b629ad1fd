import QtQuick
import Tessel.UI

// The question asked before the first scan where the system hides other apps'
// data from this one until the user allows it.
Item {
    id: view
    required property PermissionsGate permissions
    property bool openedOnce: false
    property bool canRelaunch: true
    signal openSettings()
    signal relaunch()

    Column {
        anchors.centerIn: parent
        width: Math.min(view.width - 80, 520)
        spacing: 14
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            symbol: "lock.shield"
            size: 44
            color: Style.theme.accent
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Let the app read your whole disk"
            color: Style.theme.text
            font.pixelSize: Style.headingSize + 3
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "macOS hides Mail, Messages, Safari and other apps' data from Tessel until you allow it, so a scan without it comes out short."
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize + 1
            wrapMode: Text.Wrap
        }
        Repeater {
            model: ["Open Privacy & Security ▸ Full Disk Access.",
                    "Switch this app on. You may be asked for your password.",
                    "Reopen the app: macOS only applies the change at launch."]
            Row {
                required property string modelData
                required property int index
                spacing: 10
                Rectangle {
                    width: 22
                    height: 22
                    radius: 11
                    color: Style.theme.highlight
                    Text {
                        anchors.centerIn: parent
                        text: index + 1
                        color: Style.theme.accent
                        font.pixelSize: Style.captionSize
                        font.weight: Font.DemiBold
                    }
                }
                Text {
                    text: modelData
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize
                    anchors.verticalCenter: parent.verticalCenter
                }
            }
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 10
            topPadding: 6
            ActionButton {
                text: "Continue Without It"
                onClicked: view.permissions.answer()
            }
            ActionButton {
                visible: view.openedOnce && view.canRelaunch
                text: "Quit and Reopen"
                onClicked: view.relaunch()
            }
            ActionButton {
                prominent: true
                text: view.openedOnce ? "Open Settings Again" : "Open Settings"
                onClicked: {
                    view.openedOnce = true
                    view.openSettings()
                }
            }
        }
    }
}
