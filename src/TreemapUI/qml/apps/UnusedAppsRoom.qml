import QtQuick
import QtQuick.Controls
import Tessel.UI

// The apps not opened for the chosen span, largest first, each with when it
// was last opened and what says so; those whose last use nothing can tell
// are set apart, with why. The chosen ones go to the Uninstaller to plan.
Item {
    id: room
    required property AppSession session
    required property ShellModel shell
    readonly property UnusedAppsModel unused: session.unused
    readonly property real actionBarHeight: footer.visible ? footer.height : 0
    readonly property string spanWords: unused.span === "twelve" ? "twelve months"
                                        : unused.span === "six" ? "six months" : "three months"

    Component.onCompleted: unused.loadIfNeeded()

    Item {
        id: header
        x: 24
        y: 18
        width: parent.width - 48
        height: Math.max(headline.implicitHeight, spanChoice.implicitHeight)
        visible: room.unused.hasLoaded
        Text {
            id: headline
            width: parent.width - spanChoice.width - 16
            anchors.verticalCenter: parent.verticalCenter
            wrapMode: Text.Wrap
            text: !room.unused.hasDates ? "Nothing on this computer can tell when apps were last opened."
                  : room.unused.apps.count === 0 ? "No app you can uninstall has gone unopened for " + room.spanWords + "."
                  : Format.counted(room.unused.apps.count, "app", "apps") + " not opened in " + room.spanWords + (room.unused.apps.count === 1 ? " takes " : " take ")
                    + Format.bytes(room.unused.unusedBytes) + "."
            color: Style.theme.text
            font.pixelSize: Style.bodySize + 1
            font.weight: Font.Medium
        }
        Segmented {
            id: spanChoice
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            options: [["three", "3 Months"], ["six", "6 Months"], ["twelve", "12 Months"]]
            value: room.unused.span
            onPicked: function(value) { room.unused.span = value }
        }
    }

    ListView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 12
        anchors.bottom: undecidedNote.top
        x: 16
        width: parent.width - 32
        clip: true
        visible: room.unused.hasLoaded
        model: room.unused.apps
        ScrollBar.vertical: ScrollBar {}
        delegate: AppRow {
            id: app
            required property string key
            required property string lastOpened
            required property string evidence
            width: list.width
            detail: evidence.length > 0 ? lastOpened + "  ·  " + evidence : lastOpened
            onClicked: room.unused.toggle(app.key)
        }
    }

    // What can't be told is said, not hidden: each app with why.
    Column {
        id: undecidedNote
        anchors.bottom: footer.top
        anchors.bottomMargin: 10
        x: 24
        width: parent.width - 48
        spacing: 6
        visible: room.unused.hasLoaded && room.unused.undecided.length > 0
        property bool unfolded: false
        Row {
            spacing: 10
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: Format.counted(room.unused.undecided.length, "app is", "apps are")
                      + " not listed: when " + (room.unused.undecided.length === 1 ? "it was" : "they were")
                      + " last opened can't be told."
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize
            }
            ActionButton {
                text: undecidedNote.unfolded ? "Hide Why" : "Show Why"
                onClicked: undecidedNote.unfolded = !undecidedNote.unfolded
            }
        }
        Repeater {
            model: undecidedNote.unfolded ? room.unused.undecided.slice(0, 8) : []
            delegate: Text {
                required property var modelData
                width: undecidedNote.width
                elide: Text.ElideRight
                textFormat: Text.PlainText
                text: modelData.name + ": " + modelData.why
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize + 1
            }
        }
    }

    Column {
        anchors.centerIn: parent
        spacing: 12
        visible: !room.unused.hasLoaded
        BusyIndicator {
            anchors.horizontalCenter: parent.horizontalCenter
            running: parent.visible
        }
        Text {
            text: "Reading your apps and when each was last opened…"
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
    }

    Rectangle {
        id: footer
        anchors.bottom: parent.bottom
        width: parent.width
        height: visible ? 56 : 0
        visible: room.unused.hasLoaded && room.unused.apps.count > 0
        color: Style.theme.surface
        Rectangle {
            width: parent.width
            height: 1
            color: Style.theme.outline
        }
        Text {
            x: 24
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - footerButtons.width - 64
            elide: Text.ElideRight
            text: room.unused.chosenCount === 0 ? "Choose the apps to uninstall."
                  : Format.counted(room.unused.chosenCount, "app", "apps") + " chosen, " + Format.bytes(room.unused.chosenBytes) + "."
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
        Row {
            id: footerButtons
            anchors.right: parent.right
            anchors.rightMargin: 24
            anchors.verticalCenter: parent.verticalCenter
            spacing: 8
            ActionButton {
                text: room.unused.chosenCount === room.unused.apps.count ? "Choose None" : "Choose All"
                onClicked: room.unused.chosenCount === room.unused.apps.count ? room.unused.chooseNone() : room.unused.chooseAll()
            }
            ActionButton {
                prominent: true
                symbol: "trash"
                text: "Review in Uninstaller…"
                enabled: room.unused.chosenCount > 0
                onClicked: {
                    room.session.uninstall.chooseWhenLoaded(room.unused.chosenKeys())
                    room.shell.room = "apps"
                }
            }
        }
    }
}
