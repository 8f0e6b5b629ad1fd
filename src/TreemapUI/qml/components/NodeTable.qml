import QtQuick
import QtQuick.Controls
import Tessel.UI

// A table of items from the tree: name with its folder (or a note), kind and
// size, sorted by clicking a heading. Rows are chosen by clicking (Ctrl or
// Shift for more than one), opened by a double-click, and a right-click
// offers what the chosen rows can do.
Item {
    id: table
    required property ListRoomModel room
    required property RemovalRoad removal
    property bool showsNotes: false
    property string emptyText

    function sortBy(key) {
        const parts = table.room.order.split("-")
        const ascending = parts[0] === key ? parts[1] !== "ascending" : key !== "size"
        table.room.order = key + "-" + (ascending ? "ascending" : "descending")
    }

    Row {
        id: headings
        width: parent.width
        height: 30
        Repeater {
            model: [["name", "Name", table.width - 290], ["kind", "Kind", 130], ["size", "Size", 160]]
            AbstractButton {
                id: heading
                required property var modelData
                readonly property bool sorted: table.room.order.startsWith(modelData[0])
                width: modelData[2]
                height: headings.height
                onClicked: table.sortBy(modelData[0])
                contentItem: Row {
                    spacing: 4
                    leftPadding: heading.modelData[0] === "name" ? 40 : 8
                    Text {
                        text: heading.modelData[1]
                        color: heading.sorted ? Style.theme.text : Style.theme.secondaryText
                        font.pixelSize: Style.captionSize + 1
                        font.weight: Font.DemiBold
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Icon {
                        visible: heading.sorted
                        symbol: "chevron.down"
                        rotation: table.room.order.endsWith("ascending") ? 180 : 0
                        size: 9
                        color: Style.theme.secondaryText
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }
            }
        }
    }
    Rectangle {
        anchors.top: headings.bottom
        width: parent.width
        height: 1
        color: Style.theme.outline
    }

    Text {
        visible: rows.count === 0 && !table.room.working && table.emptyText.length > 0
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 420)
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: table.emptyText
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize + 1
    }
    BusyIndicator {
        anchors.centerIn: parent
        running: table.room.working
        visible: running
    }

    RowMenu {
        id: rowMenu
        rows: table.room
        removal: table.removal
    }

    ListView {
        id: rows
        anchors.top: headings.bottom
        anchors.topMargin: 1
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        model: table.room.rows
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}
        delegate: Rectangle {
            id: entry
            required property string name
            required property string folder
            required property string kind
            required property real bytes
            required property real share
            required property string symbol
            required property string note
            required property bool rebuildsItself
            required property bool chosen
            required property int index
            width: rows.width
            height: table.showsNotes && note.length > 0 ? Math.max(52, noteText.implicitHeight + 34) : 46
            color: entry.chosen ? Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.16)
                 : hover.hovered ? Style.mix(Style.theme.background, Style.theme.text, 0.04) : "transparent"
            HoverHandler { id: hover }
            MouseArea {
                anchors.fill: parent
                acceptedButtons: Qt.LeftButton | Qt.RightButton
                onClicked: function(mouse) {
                    if (mouse.button === Qt.RightButton) {
                        table.room.pointAt(entry.index)
                        rowMenu.popup()
                    } else {
                        table.room.choose(entry.index, mouse.modifiers)
                    }
                }
                onDoubleClicked: function(mouse) {
                    if (mouse.button !== Qt.LeftButton) return
                    table.room.choose(entry.index, Qt.NoModifier)
                    table.room.openChosen()
                }
            }
            Icon {
                x: 12
                y: 14
                symbol: entry.symbol
                size: 18
                color: Style.theme.accent
            }
            Column {
                x: 40
                y: 8
                width: table.width - 290 - 48
                spacing: 2
                Row {
                    spacing: 8
                    Text {
                        text: entry.name
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize
                        font.weight: Font.Medium
                        elide: Text.ElideMiddle
                        width: Math.min(implicitWidth, table.width - 290 - 48 - (badge.visible ? badge.width + 8 : 0))
                    }
                    Rectangle {
                        id: badge
                        visible: table.showsNotes && entry.rebuildsItself
                        width: badgeText.implicitWidth + 12
                        height: 18
                        radius: 9
                        color: Qt.rgba(Style.theme.success.r, Style.theme.success.g, Style.theme.success.b, 0.14)
                        Text {
                            id: badgeText
                            anchors.centerIn: parent
                            text: "Comes back by itself"
                            color: Style.theme.success
                            font.pixelSize: Style.captionSize
                            font.weight: Font.Medium
                        }
                    }
                }
                Text {
                    id: noteText
                    width: parent.width
                    text: table.showsNotes && entry.note.length > 0 ? entry.note : entry.folder
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.captionSize + 1
                    wrapMode: table.showsNotes && entry.note.length > 0 ? Text.Wrap : Text.NoWrap
                    elide: Text.ElideMiddle
                }
            }
            Text {
                x: table.width - 290 + 8
                y: 14
                width: 120
                text: entry.kind
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize - 1
                elide: Text.ElideRight
            }
            Row {
                x: table.width - 160 + 8
                y: 14
                spacing: 10
                Text {
                    width: 70
                    text: Format.bytes(entry.bytes)
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize - 1
                    horizontalAlignment: Text.AlignRight
                }
                Rectangle {
                    width: 60
                    height: 5
                    radius: 2.5
                    color: Style.theme.outline
                    anchors.verticalCenter: parent.verticalCenter
                    Rectangle {
                        width: parent.width * Math.min(1, entry.share)
                        height: parent.height
                        radius: 2.5
                        color: Style.theme.accent
                    }
                }
            }
            Rectangle {
                anchors.bottom: parent.bottom
                x: 40
                width: parent.width - 40
                height: 1
                color: Style.theme.outline
                opacity: 0.6
            }
        }
    }
}
