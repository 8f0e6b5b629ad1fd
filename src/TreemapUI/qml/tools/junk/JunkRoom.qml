import QtQuick
import QtQuick.Controls
import Tessel.UI

// Caches, logs, build data and old installers: one card per kind, largest
// first, each row with why it can go; what is safe starts ticked, and what a
// running program uses is marked and stays.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: footer.visible ? footer.height : 0
    readonly property JunkModel junk: session.tools.junk
    readonly property bool running: junk.phase === JunkModel.Running
    readonly property bool hasGroups: junk.groups.count > 0
    readonly property string toolLine: {
        for (const tool of session.overview.tools)
            if (tool.key === "junk") return tool.line
        return ""
    }

    // What went elsewhere since the last look leaves its group.
    Component.onCompleted: junk.refreshPresence()

    Item {
        id: header
        x: 24
        y: 18
        width: parent.width - 48
        height: visible ? Math.max(intro.implicitHeight, controls.implicitHeight) : 0
        visible: !room.running && room.hasGroups
        Column {
            id: intro
            width: parent.width - controls.width - 16
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3
            Text {
                width: parent.width
                wrapMode: Text.Wrap
                text: "Found " + Format.bytes(room.junk.totalFound) + " in " + Format.counted(room.junk.itemCount, "item", "items")
                      + ". What starts ticked can go without losing anything anyone made."
                color: Style.theme.text
                font.pixelSize: Style.bodySize + 1
                font.weight: Font.Medium
            }
            Text {
                width: parent.width
                visible: room.junk.inUseCount > 0
                wrapMode: Text.Wrap
                text: "What is marked In use stays: a program that uses it is running. Quit it, then find again."
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize
            }
        }
        Row {
            id: controls
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: 8
            ActionButton {
                text: "Select Recommended"
                help: "Tick only what is safe to remove, as when the search ended"
                onClicked: room.junk.selectRecommended()
            }
            ActionButton {
                text: "Select All"
                help: "Tick everything that can be moved, except what is in use"
                onClicked: room.junk.selectAll()
            }
            ActionButton {
                text: "Find Again"
                symbol: "arrow.clockwise"
                onClicked: room.junk.run()
            }
        }
    }

    // Looking: how far, and the way out.
    SearchingPane {
        visible: room.running
        title: "Looking for junk"
        done: room.junk.done
        total: room.junk.total
        waitingText: "Reading your home folder…"
        measuringText: "Measuring " + Format.count(room.junk.done) + " of " + Format.counted(room.junk.total, "place", "places") + "…"
        onCancel: room.junk.cancel()
    }

    // Nothing to show: not looked yet, or nothing found.
    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 460)
        spacing: 10
        visible: !room.running && !room.hasGroups
        readonly property bool lookedAlready: room.junk.phase === JunkModel.Done
        Rectangle {
            width: 64
            height: 64
            radius: 32
            anchors.horizontalCenter: parent.horizontalCenter
            color: Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.12)
            Icon {
                anchors.centerIn: parent
                symbol: parent.parent.lookedAlready ? "checkmark.circle.fill" : "sparkles"
                size: 28
                color: Style.theme.accent
            }
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: parent.lookedAlready ? "No junk found" : "Junk Files"
            color: Style.theme.text
            font.pixelSize: Style.headingSize + 2
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: parent.lookedAlready ? "Nothing here is worth clearing: no cache, log, build folder or installer of 1 MB or more."
                                       : room.toolLine
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize + 1
            lineHeight: 1.2
        }
        ActionButton {
            anchors.horizontalCenter: parent.horizontalCenter
            prominent: !parent.lookedAlready
            text: parent.lookedAlready ? "Find Again" : "Find Junk"
            symbol: parent.lookedAlready ? "arrow.clockwise" : "sparkle.magnifyingglass"
            onClicked: room.junk.run()
        }
    }

    TickedGroupsView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: footer.top
        x: 16
        width: parent.width - 32
        visible: !room.running && room.hasGroups
        model: room.junk.groups
        onToggle: path => room.junk.toggle(path)
        onToggleGroup: groupId => room.junk.toggleGroup(groupId)
    }

    RemovalFooter {
        id: footer
        anchors.bottom: parent.bottom
        session: room.session
        visible: !room.running && room.hasGroups
        tickedCount: room.junk.tickedCount
        tickedBytes: room.junk.tickedBytes
        onRemove: room.junk.removeTicked()
    }
}
