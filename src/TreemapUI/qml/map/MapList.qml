import QtQuick
import QtQuick.Controls
import Tessel.UI

// The map as a list: name, kind, size and share, each folder opening in place.
Item {
    id: list
    required property SpaceMapModel map

    readonly property var columns: [["name", "Name"], ["kind", "Kind"], ["size", "Size"]]

    function sortBy(key) {
        const parts = list.map.listOrder.split("-")
        const ascending = parts[0] === key ? parts[1] !== "ascending" : key !== "size"
        list.map.listOrder = key + "-" + (ascending ? "ascending" : "descending")
    }

    Rectangle {
        id: headings
        width: parent.width
        height: 30
        color: "transparent"
        Row {
            anchors.fill: parent
            Repeater {
                model: list.columns
                AbstractButton {
                    id: heading
                    required property var modelData
                    required property int index
                    readonly property bool sorted: list.map.listOrder.startsWith(modelData[0])
                    width: index === 0 ? list.width - 300 : 150
                    height: headings.height
                    hoverEnabled: true
                    onClicked: list.sortBy(modelData[0])
                    contentItem: Row {
                        spacing: 4
                        leftPadding: heading.index === 0 ? 34 : 8
                        Text {
                            text: heading.modelData[1]
                            color: heading.sorted ? Style.theme.text : Style.theme.secondaryText
                            font.pixelSize: Style.captionSize + 1
                            font.weight: Font.DemiBold
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        Icon {
                            visible: heading.sorted
                            symbol: list.map.listOrder.endsWith("ascending") ? "chevron.down" : "chevron.down"
                            rotation: list.map.listOrder.endsWith("ascending") ? 180 : 0
                            size: 9
                            color: Style.theme.secondaryText
                            anchors.verticalCenter: parent.verticalCenter
                        }
                    }
                }
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Style.theme.outline
        }
    }

    // A step to a match brings its row into view.
    Connections {
        target: list.map
        function onSteppedTo(itemId) {
            const row = list.map.list.rowOf(itemId)
            if (row >= 0) rows.positionViewAtIndex(row, ListView.Contain)
        }
    }

    ListView {
        id: rows
        anchors.top: headings.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        model: list.map.list
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}
        delegate: Rectangle {
            id: entry
            required property int index
            required property string itemId
            required property string name
            required property real bytes
            required property real share
            required property string kind
            required property int depth
            required property bool expandable
            required property bool expanded
            required property string symbol
            required property bool navigable
            required property bool dimmed
            readonly property bool chosen: list.map.chosenIds.indexOf(itemId) >= 0
            width: rows.width
            height: 30
            radius: Style.smallRadius
            color: chosen ? Style.theme.highlight
                 : hover.hovered ? Style.mix(Style.theme.background, Style.theme.text, 0.04) : "transparent"
            HoverHandler { id: hover }
            // What a search leaves out: the row is there, faded.
            opacity: dimmed ? 0.35 : 1
            TapHandler {
                onTapped: function(point) {
                    const modifiers = point.modifiers
                    // 1 adds to or takes from the choice, 2 chooses a range, 0 chooses this alone.
                    list.map.select(entry.itemId, (modifiers & Qt.ControlModifier) ? 1 : (modifiers & Qt.ShiftModifier) ? 2 : 0)
                }
                onDoubleTapped: list.map.activate(entry.itemId)
            }
            Row {
                x: 8 + entry.depth * 18
                width: list.width - 300 - x
                height: parent.height
                spacing: 6
                AbstractButton {
                    width: 16
                    height: 16
                    anchors.verticalCenter: parent.verticalCenter
                    enabled: entry.expandable
                    opacity: entry.expandable ? 1 : 0
                    onClicked: list.map.list.toggle(entry.index)
                    contentItem: Icon {
                        symbol: "chevron.right"
                        size: 10
                        rotation: entry.expanded ? 90 : 0
                        color: Style.theme.secondaryText
                    }
                }
                Icon {
                    symbol: entry.symbol
                    size: 15
                    color: Style.theme.accent
                    anchors.verticalCenter: parent.verticalCenter
                }
                Text {
                    text: entry.name
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize
                    elide: Text.ElideMiddle
                    width: parent.width - 50
                    anchors.verticalCenter: parent.verticalCenter
                }
            }
            Text {
                x: list.width - 300 + 8
                width: 140
                anchors.verticalCenter: parent.verticalCenter
                text: entry.kind
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize - 1
                elide: Text.ElideRight
            }
            Row {
                x: list.width - 150 + 8
                anchors.verticalCenter: parent.verticalCenter
                spacing: 8
                Text {
                    width: 64
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
        }
    }
}
