import QtQuick
import QtQuick.Controls
import Tessel.UI

// Everything that starts by itself, one card per kind: each item with who
// owns it and why, what it runs, and whether it is on. The user's own items
// switch here; a unit of the user's own can go to the Trash with its links;
// anything else shows the command that changes it. The newest change can be
// taken back from the line above the list.
Item {
    id: room
    required property AppSession session
    readonly property StartupItemsModel startup: session.tools.startup
    readonly property bool reading: startup.search.phase === SearchState.Running
    readonly property string toolLine: {
        for (const tool of session.overview.tools)
            if (tool.key === "startup") return tool.line
        return ""
    }

    Component.onCompleted: startup.loadIfNeeded()

    component Filter: Row {
        id: filter
        property string text
        property bool checked
        signal toggled(bool on)
        spacing: 0
        CheckBox {
            id: box
            anchors.verticalCenter: parent.verticalCenter
            checked: filter.checked
            onToggled: {
                filter.toggled(checked)
                checked = Qt.binding(() => filter.checked)
            }
            Accessible.name: filter.text
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: filter.text
            color: Style.theme.text
            font.pixelSize: Style.bodySize
            TapHandler { onTapped: filter.toggled(!filter.checked) }
        }
    }

    Column {
        id: header
        x: 24
        y: 18
        width: parent.width - 48
        spacing: 8
        visible: room.startup.hasLoaded
        Item {
            width: parent.width
            height: Math.max(intro.implicitHeight, readAgain.height)
            Column {
                id: intro
                width: parent.width - readAgain.width - 16
                anchors.verticalCenter: parent.verticalCenter
                spacing: 3
                Text {
                    width: parent.width
                    wrapMode: Text.Wrap
                    text: room.startup.itemCount === 1 ? "1 item starts by itself."
                                                       : Format.count(room.startup.itemCount) + " items start by themselves."
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize + 1
                    font.weight: Font.Medium
                }
                Text {
                    width: parent.width
                    visible: text.length > 0
                    wrapMode: Text.Wrap
                    text: {
                        const parts = []
                        if (!room.startup.withPlatform && room.startup.platformCount > 0)
                            parts.push(Format.count(room.startup.platformCount) + " of them "
                                       + (room.startup.platformCount === 1 ? "is" : "are")
                                       + " part of the system or its desktop, and left out.")
                        if (room.startup.unreadableCount > 0)
                            parts.push(Format.counted(room.startup.unreadableCount, "file", "files") + " could not be read.")
                        return parts.join(" ")
                    }
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.bodySize
                }
            }
            ActionButton {
                id: readAgain
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: "Read Again"
                symbol: "arrow.clockwise"
                enabled: !room.reading
                onClicked: room.startup.load()
            }
        }
        Row {
            spacing: 18
            Filter {
                text: "Only without an owner"
                checked: room.startup.onlyWithoutOwner
                onToggled: on => room.startup.onlyWithoutOwner = on
            }
            Filter {
                text: "Only mine"
                checked: room.startup.onlyMine
                onToggled: on => room.startup.onlyMine = on
            }
            Filter {
                visible: room.startup.platformCount > 0
                text: "Show the system's own"
                checked: room.startup.withPlatform
                onToggled: on => room.startup.withPlatform = on
            }
        }
        ResultBanner {
            width: parent.width
            text: room.startup.result
            refused: room.startup.resultRefused
            actionShown: room.startup.canUndo || room.startup.isChanging
            actionEnabled: room.startup.canUndo
            actionHelp: room.startup.undoHelp
            onAct: room.startup.undo()
        }
    }

    SearchingPane {
        visible: room.reading && !room.startup.hasLoaded
        title: "Reading startup items"
        waitingText: "Reading systemd's units, the autostart entries and cron's tables…"
        onCancel: room.startup.cancel()
    }

    StartPane {
        visible: !room.reading && !room.startup.hasLoaded
        symbol: "power"
        title: "Startup Items"
        text: room.toolLine
        buttonText: "List Startup Items"
        onStart: room.startup.load()
    }

    Text {
        anchors.top: header.bottom
        anchors.topMargin: 40
        x: 24
        width: parent.width - 48
        visible: room.startup.hasLoaded && list.count === 0
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: room.startup.itemCount === 0 ? "Nothing starts by itself." : "Nothing here matches these filters."
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize + 1
    }

    ListView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: parent.bottom
        x: 16
        width: parent.width - 32
        visible: room.startup.hasLoaded
        clip: true
        spacing: 12
        boundsBehavior: Flickable.StopAtBounds
        model: room.startup.groups
        ScrollBar.vertical: ScrollBar {}
        footer: Item { height: 14 }
        delegate: Card {
            id: group
            required property string key
            required property string title
            required property string about
            required property string count
            required property var items
            width: list.width - 12
            padding: 14
            Column {
                width: parent.width
                spacing: 6
                Item {
                    width: parent.width
                    height: groupText.implicitHeight
                    Column {
                        id: groupText
                        width: parent.width - groupCount.width - 12
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
                            text: group.about
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.captionSize + 1
                        }
                    }
                    Text {
                        id: groupCount
                        anchors.right: parent.right
                        text: group.count
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                    }
                }
                Repeater {
                    model: group.items
                    delegate: Item {
                        id: row
                        required property var modelData
                        width: parent.width
                        height: rowText.implicitHeight + 16
                        HoverHandler { id: rowHover }
                        ToolTip.visible: rowHover.hovered
                        ToolTip.delay: 700
                        ToolTip.text: row.modelData.path
                        Rectangle {
                            width: parent.width
                            height: 1
                            color: Style.theme.outline
                        }
                        Item {
                            id: state
                            width: 48
                            height: rowText.height
                            y: 10
                            ToggleSwitch {
                                visible: row.modelData.switchable
                                checked: row.modelData.enabled
                                enabled: !room.startup.isChanging
                                onToggled: {
                                    room.startup.switchItem(row.modelData.key, checked)
                                    checked = Qt.binding(() => row.modelData.enabled)
                                }
                                Accessible.name: (row.modelData.enabled ? "Switch off " : "Switch on ") + row.modelData.label
                            }
                            Text {
                                visible: !row.modelData.switchable
                                x: 4
                                y: 2
                                text: row.modelData.enabled ? "On" : "Off"
                                color: row.modelData.enabled ? Style.theme.text : Style.theme.secondaryText
                                font.pixelSize: Style.bodySize
                                font.weight: Font.Medium
                            }
                        }
                        Column {
                            id: rowText
                            anchors.left: state.right
                            anchors.right: trashButton.visible ? trashButton.left : parent.right
                            anchors.rightMargin: 12
                            y: 10
                            spacing: 3
                            Row {
                                width: parent.width
                                spacing: 8
                                Text {
                                    width: Math.min(implicitWidth, parent.width - tags.width - 8)
                                    elide: Text.ElideMiddle
                                    textFormat: Text.PlainText
                                    text: row.modelData.label
                                    color: row.modelData.enabled ? Style.theme.text : Style.theme.secondaryText
                                    font.pixelSize: Style.bodySize
                                    font.weight: Font.DemiBold
                                }
                                Row {
                                    id: tags
                                    spacing: 6
                                    anchors.verticalCenter: parent.verticalCenter
                                    Tag {
                                        text: row.modelData.owner.length > 0
                                              ? row.modelData.owner + " · " + row.modelData.confidence
                                              : row.modelData.platform ? "Part of the system" : "No owner"
                                        tone: row.modelData.owner.length === 0 ? Style.theme.secondaryText
                                              : row.modelData.confidence === "Certain" ? Style.theme.success : Style.theme.accent
                                    }
                                    Tag {
                                        visible: row.modelData.programMissing
                                        text: "Program missing"
                                        tone: Style.theme.warning
                                    }
                                }
                            }
                            Text {
                                width: parent.width
                                wrapMode: Text.Wrap
                                textFormat: Text.PlainText
                                text: row.modelData.reason
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                            Text {
                                width: parent.width
                                visible: row.modelData.program.length > 0
                                elide: Text.ElideMiddle
                                textFormat: Text.PlainText
                                text: "Runs " + row.modelData.program
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                            Text {
                                width: parent.width
                                visible: row.modelData.detail.length > 0
                                wrapMode: Text.Wrap
                                textFormat: Text.PlainText
                                text: row.modelData.detail
                                color: row.modelData.programMissing ? Style.theme.warning : Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                            Text {
                                width: parent.width
                                visible: row.modelData.command.length > 0
                                topPadding: 3
                                wrapMode: Text.Wrap
                                text: row.modelData.commandNote
                                color: Style.theme.text
                                font.pixelSize: Style.captionSize + 1
                            }
                            CommandBox {
                                width: Math.min(parent.width, 560)
                                visible: row.modelData.command.length > 0
                                command: row.modelData.command
                                onCopy: room.startup.copyCommand(row.modelData.command)
                            }
                        }
                        ActionButton {
                            id: trashButton
                            visible: row.modelData.trashable
                            anchors.right: parent.right
                            y: 8
                            text: "Move to Trash…"
                            symbol: "trash"
                            help: "Moves its unit file to the Trash with the links that switch it on; Undo puts them back"
                            enabled: !room.session.removal.isWorking
                            onClicked: room.startup.moveToTrash(row.modelData.key)
                        }
                    }
                }
            }
        }
    }
}
