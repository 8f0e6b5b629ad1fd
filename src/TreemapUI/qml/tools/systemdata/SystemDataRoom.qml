import QtQuick
import QtQuick.Controls
import Tessel.UI

// What the disk holds outside an ordinary scan of the home: one row per
// place with where it is, its size and the command that removes it, to copy.
// Folders that could not be read are listed apart, as they were not counted.
Item {
    id: room
    required property AppSession session
    readonly property SystemDataModel systemData: session.tools.systemData
    readonly property bool running: systemData.search.phase === SearchState.Running
    readonly property bool looked: systemData.search.phase === SearchState.Done
    readonly property bool hasRows: systemData.rows.length > 0 || systemData.unreadable.length > 0
    readonly property string toolLine: {
        for (const tool of session.overview.tools)
            if (tool.key === "systemData") return tool.line
        return ""
    }
    // The overview's "System" share, when the disk's figures are known.
    readonly property real systemShare: {
        for (const part of session.overview.parts)
            if (part.key === "system") return part.bytes
        return 0
    }

    Item {
        id: header
        visible: !room.running && room.hasRows
        x: 24
        y: 18
        width: parent.width - 48
        height: visible ? Math.max(intro.implicitHeight, againButton.height) : 0
        Column {
            id: intro
            width: parent.width - againButton.width - 16
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3
            Text {
                width: parent.width
                wrapMode: Text.Wrap
                text: "Found " + Format.bytes(room.systemData.totalBytes) + " in "
                      + Format.counted(room.systemData.rows.length, "place", "places") + " outside your files."
                color: Style.theme.text
                font.pixelSize: Style.bodySize + 1
                font.weight: Font.Medium
            }
            Text {
                width: parent.width
                wrapMode: Text.Wrap
                text: (room.systemShare > 0 ? "The overview counts " + Format.bytes(room.systemShare) + " as System. " : "")
                      + "Tessel never asks for a password: each place says how it is removed."
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize
            }
        }
        ActionButton {
            id: againButton
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: "Look Again"
            symbol: "arrow.clockwise"
            help: "Measure every place again"
            onClicked: room.systemData.run()
        }
    }

    SearchingPane {
        visible: room.running
        title: "Measuring System Data"
        done: 0
        total: 0
        waitingText: "Measuring caches, logs, kernels and images…"
        measuringText: waitingText
        onCancel: room.systemData.cancel()
    }

    StartPane {
        visible: !room.running && !room.hasRows
        lookedAlready: room.looked
        symbol: "internaldrive"
        title: lookedAlready ? "Nothing found outside your files" : "System Data"
        text: lookedAlready ? "No package cache, old log, unused kernel or image takes space here." : room.toolLine
        buttonText: "Measure System Data"
        onStart: room.systemData.run()
    }

    ListView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: parent.bottom
        x: 16
        width: parent.width - 32
        visible: !room.running && room.hasRows
        clip: true
        spacing: 8
        bottomMargin: 16
        model: room.systemData.rows
        ScrollBar.vertical: ScrollBar {}
        delegate: Rectangle {
            id: row
            required property var modelData
            width: ListView.view.width - 12
            height: body.implicitHeight + 20
            radius: Style.smallRadius
            color: Style.theme.surface
            border.width: 1
            border.color: Style.theme.outline
            Column {
                id: body
                x: 14
                y: 10
                width: parent.width - 28
                spacing: 4
                Row {
                    width: parent.width
                    spacing: 10
                    Text {
                        width: parent.width - sizeText.width - 10
                        elide: Text.ElideRight
                        textFormat: Text.PlainText
                        text: row.modelData.title
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize + 1
                        font.weight: Font.Medium
                    }
                    Text {
                        id: sizeText
                        text: row.modelData.size
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize + 1
                    }
                }
                Text {
                    width: parent.width
                    elide: Text.ElideMiddle
                    textFormat: Text.PlainText
                    text: row.modelData.path
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.captionSize + 1
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
                Text {
                    width: parent.width
                    visible: text.length > 0
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
                    onCopy: room.systemData.copyCommand(row.modelData.command)
                }
                ActionButton {
                    visible: row.modelData.opensTrash
                    text: "Open Trash"
                    symbol: "trash"
                    help: room.systemData.openTrashHelp
                    onClicked: room.session.removal.openTrash()
                }
            }
        }
        footer: Column {
            width: list.width - 12
            visible: room.systemData.unreadable.length > 0
            topPadding: 12
            spacing: 4
            Text {
                width: parent.width
                wrapMode: Text.Wrap
                text: "Could not be read, so not counted:"
                color: Style.theme.text
                font.pixelSize: Style.bodySize
                font.weight: Font.Medium
            }
            Repeater {
                model: room.systemData.unreadable
                Text {
                    required property string modelData
                    width: parent.width
                    elide: Text.ElideMiddle
                    textFormat: Text.PlainText
                    text: modelData
                    color: Style.theme.warning
                    font.pixelSize: Style.captionSize + 1
                }
            }
        }
    }
}
