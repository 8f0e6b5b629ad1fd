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
    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 420)
        spacing: 12
        visible: room.running
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Looking for junk"
            color: Style.theme.text
            font.pixelSize: Style.headingSize
            font.weight: Font.DemiBold
        }
        ProgressBar {
            width: parent.width
            from: 0
            to: Math.max(1, room.junk.total)
            value: room.junk.done
            indeterminate: room.junk.total === 0
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: room.junk.total === 0 ? "Reading your home folder…"
                                        : "Measuring " + Format.count(room.junk.done) + " of " + Format.counted(room.junk.total, "place", "places") + "…"
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
        ActionButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Cancel"
            symbol: "xmark"
            onClicked: room.junk.cancel()
        }
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

    ListView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: footer.top
        x: 16
        width: parent.width - 32
        clip: true
        spacing: 10
        visible: !room.running && room.hasGroups
        model: room.junk.groups
        ScrollBar.vertical: ScrollBar {}
        delegate: Card {
            id: group
            required property string groupId
            required property string title
            required property string summary
            required property string size
            required property string tickState
            required property bool tickable
            required property var items
            // A long group shows its first rows until asked for all.
            property bool unfolded: false
            readonly property int shownCount: unfolded || items.length <= 8 ? items.length : 6
            width: list.width - 12
            padding: 14
            Column {
                width: parent.width
                spacing: 4
                Item {
                    width: parent.width
                    height: Math.max(groupTick.implicitHeight, groupText.implicitHeight)
                    CheckBox {
                        id: groupTick
                        x: 2
                        anchors.verticalCenter: parent.verticalCenter
                        tristate: true
                        enabled: group.tickable
                        readonly property int modelState: group.tickState === "all" ? Qt.Checked
                                                          : group.tickState === "some" ? Qt.PartiallyChecked : Qt.Unchecked
                        checkState: modelState
                        // The model decides what a press ticks.
                        nextCheckState: function() { return modelState }
                        onClicked: {
                            room.junk.toggleGroup(group.groupId)
                            checkState = Qt.binding(() => modelState)
                        }
                        Accessible.name: group.title
                    }
                    Column {
                        id: groupText
                        anchors.left: groupTick.right
                        anchors.leftMargin: 4
                        anchors.right: groupSize.left
                        anchors.rightMargin: 12
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 2
                        Text {
                            text: group.title
                            color: Style.theme.text
                            font.pixelSize: Style.bodySize + 1
                            font.weight: Font.DemiBold
                        }
                        Text {
                            width: parent.width
                            wrapMode: Text.Wrap
                            text: group.summary
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.captionSize + 1
                        }
                    }
                    Text {
                        id: groupSize
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        text: group.size
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize + 1
                        font.weight: Font.DemiBold
                    }
                }
                Repeater {
                    model: group.items.slice(0, group.shownCount)
                    delegate: Rectangle {
                        id: row
                        required property var modelData
                        readonly property bool held: modelData.inUse || modelData.administrator
                        width: parent.width
                        height: rowText.implicitHeight + 12
                        radius: Style.smallRadius
                        color: modelData.ticked ? Style.mix(Style.theme.surface, Style.theme.accent, 0.06) : "transparent"
                        HoverHandler { id: rowHover }
                        ToolTip.visible: rowHover.hovered
                        ToolTip.delay: 700
                        ToolTip.text: modelData.path
                        CheckBox {
                            id: tick
                            x: 2
                            anchors.verticalCenter: parent.verticalCenter
                            enabled: !row.held
                            checked: row.modelData.ticked
                            onToggled: {
                                room.junk.toggle(row.modelData.path)
                                checked = Qt.binding(() => row.modelData.ticked)
                            }
                            Accessible.name: row.modelData.name
                        }
                        Column {
                            id: rowText
                            anchors.left: tick.right
                            anchors.leftMargin: 4
                            anchors.right: rowSize.left
                            anchors.rightMargin: 12
                            anchors.verticalCenter: parent.verticalCenter
                            spacing: 1
                            Row {
                                width: parent.width
                                spacing: 8
                                Text {
                                    width: Math.min(implicitWidth, parent.width - (inUseTag.visible ? inUseTag.width + 8 : 0)
                                                    - (adminTag.visible ? adminTag.width + 8 : 0))
                                    elide: Text.ElideMiddle
                                    textFormat: Text.PlainText
                                    text: row.modelData.name
                                    color: Style.theme.text
                                    font.pixelSize: Style.bodySize
                                }
                                Tag {
                                    id: inUseTag
                                    visible: row.modelData.inUse
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: "In use"
                                    tone: Style.theme.warning
                                }
                                Tag {
                                    id: adminTag
                                    visible: row.modelData.administrator
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: "Needs an administrator"
                                    tone: Style.theme.secondaryText
                                }
                            }
                            Text {
                                width: parent.width
                                visible: text.length > 0
                                wrapMode: Text.Wrap
                                textFormat: Text.PlainText
                                text: row.modelData.note
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                        }
                        Text {
                            id: rowSize
                            anchors.right: parent.right
                            anchors.rightMargin: 8
                            anchors.verticalCenter: parent.verticalCenter
                            text: row.modelData.size
                            color: Style.theme.text
                            font.pixelSize: Style.bodySize
                        }
                    }
                }
                ActionButton {
                    visible: group.shownCount < group.items.length
                    x: 30
                    text: "Show All " + Format.count(group.items.length)
                    onClicked: group.unfolded = true
                }
            }
        }
    }

    Rectangle {
        id: footer
        anchors.bottom: parent.bottom
        width: parent.width
        height: visible ? 56 : 0
        visible: !room.running && room.hasGroups
        color: Style.theme.surface
        Rectangle {
            width: parent.width
            height: 1
            color: Style.theme.outline
        }
        Text {
            x: 24
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - removeButton.width - 64
            elide: Text.ElideRight
            text: room.junk.tickedCount === 0
                  ? "Tick what to move to the Trash."
                  : Format.counted(room.junk.tickedCount, "item", "items") + " ticked, freeing "
                    + Format.bytes(room.junk.tickedBytes) + "."
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
        ActionButton {
            id: removeButton
            anchors.right: parent.right
            anchors.rightMargin: 24
            anchors.verticalCenter: parent.verticalCenter
            prominent: true
            symbol: "trash"
            text: "Move to Trash…"
            enabled: room.junk.tickedCount > 0 && !room.session.removal.isWorking
            onClicked: room.junk.removeTicked()
        }
    }
}
