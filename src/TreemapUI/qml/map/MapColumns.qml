import QtQuick
import QtQuick.Controls
import Tessel.UI

// The map as columns: each folder chosen opens the next column beside it.
ListView {
    id: columns
    required property SpaceMapModel map

    orientation: ListView.Horizontal
    clip: true
    spacing: 1
    boundsBehavior: Flickable.StopAtBounds
    model: map.columns
    ScrollBar.horizontal: ScrollBar {}
    onCountChanged: positionViewAtEnd()

    delegate: Rectangle {
        id: column
        required property var modelData
        required property int index
        width: 260
        height: columns.height
        color: Style.theme.surface
        border.width: 1
        border.color: Style.theme.outline

        Text {
            id: title
            x: 12
            y: 10
            width: parent.width - 24
            text: column.modelData.title + "  ·  " + Format.bytes(column.modelData.bytes)
            color: Style.theme.secondaryText
            font.pixelSize: Style.captionSize + 1
            font.weight: Font.DemiBold
            elide: Text.ElideMiddle
        }
        ListView {
            id: columnRows
            anchors.top: title.bottom
            anchors.topMargin: 8
            anchors.bottom: parent.bottom
            width: parent.width
            clip: true
            model: column.modelData.rows
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}
            // A step to a match brings its row into view.
            Connections {
                target: columns.map
                function onSteppedTo(itemId) {
                    const rows = column.modelData.rows
                    for (let i = 0; i < rows.length; ++i)
                        if (rows[i].itemId === itemId) columnRows.positionViewAtIndex(i, ListView.Contain)
                }
            }
            delegate: Rectangle {
                id: entry
                required property var modelData
                width: ListView.view.width
                height: 28
                // What a search leaves out: the row is there, faded.
                opacity: modelData.dimmed ? 0.35 : 1
                color: modelData.chosen ? Style.theme.highlight : hover.hovered ? Style.mix(Style.theme.surface, Style.theme.text, 0.04) : "transparent"
                HoverHandler { id: hover }
                TapHandler {
                    onTapped: columns.map.selectInColumn(column.index, entry.modelData.itemId)
                    onDoubleTapped: columns.map.activate(entry.modelData.itemId)
                }
                Row {
                    x: 10
                    spacing: 7
                    anchors.verticalCenter: parent.verticalCenter
                    Icon {
                        symbol: entry.modelData.symbol
                        size: 14
                        color: Style.theme.accent
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Text {
                        width: 140
                        text: entry.modelData.name
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize - 1
                        elide: Text.ElideMiddle
                    }
                    Text {
                        width: 56
                        text: Format.bytes(entry.modelData.bytes)
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.captionSize + 1
                        horizontalAlignment: Text.AlignRight
                    }
                    Icon {
                        visible: entry.modelData.navigable
                        symbol: "chevron.right"
                        size: 9
                        color: Style.theme.secondaryText
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }
            }
        }
    }
}
