import QtQuick
import QtQuick.Controls
import Tessel.UI

// The space map: where the space went, as cards, a treemap, a list or columns.
Item {
    id: room
    required property AppSession session
    required property ThemeModel theme
    readonly property SpaceMapModel map: session.spaceMap
    readonly property string style: map.style
    readonly property real actionBarHeight: footer.visible ? footer.height : 0

    // Until a scan stands there is nothing to map.
    Column {
        visible: !room.map.hasTree
        anchors.centerIn: parent
        width: Math.min(room.width - 80, 440)
        spacing: 12
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            symbol: "square.grid.2x2"
            size: 40
            color: Style.theme.secondaryText
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: room.session.scan.isScanning
                  ? "The map appears as soon as the scan of " + room.session.scan.sourceLabel + " is done."
                  : "Scan a disk or a folder to see where its space went."
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize + 1
            wrapMode: Text.Wrap
        }
    }

    Item {
        id: header
        visible: room.map.hasTree
        x: 20
        width: parent.width - 40
        height: 52

        Row {
            id: crumbs
            anchors.verticalCenter: parent.verticalCenter
            spacing: 4
            width: Math.min(implicitWidth, header.width - switches.width - 16)
            clip: true
            ActionButton {
                symbol: "chevron.left"
                text: "Back"
                enabled: room.map.canGoBack
                implicitHeight: 28
                onClicked: room.map.back()
            }
            Item { width: 6; height: 1 }
            Repeater {
                model: room.map.path
                Row {
                    id: crumb
                    required property var modelData
                    required property int index
                    spacing: 4
                    anchors.verticalCenter: parent ? parent.verticalCenter : undefined
                    Icon {
                        visible: crumb.index > 0
                        symbol: "chevron.right"
                        size: 10
                        color: Style.theme.secondaryText
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    AbstractButton {
                        id: crumbButton
                        readonly property bool last: crumb.index === room.map.path.length - 1
                        hoverEnabled: true
                        enabled: !last && crumb.modelData.index >= 0
                        implicitHeight: 26
                        implicitWidth: crumbText.implicitWidth + 12
                        onClicked: room.map.goToPathIndex(crumb.modelData.index)
                        background: Rectangle {
                            radius: Style.smallRadius
                            color: crumbButton.hovered ? Style.theme.highlight : "transparent"
                        }
                        contentItem: Text {
                            id: crumbText
                            text: crumb.modelData.name
                            color: crumbButton.last ? Style.theme.text : Style.theme.secondaryText
                            font.pixelSize: Style.bodySize
                            font.weight: crumbButton.last ? Font.DemiBold : Font.Normal
                            horizontalAlignment: Text.AlignHCenter
                            verticalAlignment: Text.AlignVCenter
                            elide: Text.ElideMiddle
                        }
                    }
                }
            }
        }

        Row {
            id: switches
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: 10
            Segmented {
                options: room.map.lenses.map(lens => [lens.key, lens.title])
                value: room.map.lens
                onPicked: function(value) { room.map.lens = value }
            }
            Segmented {
                options: [["cards", "Cards"], ["treemap", "Treemap"], ["list", "List"], ["columns", "Columns"]]
                value: room.style
                onPicked: function(value) { room.map.style = value }
            }
        }
    }

    // Finding names anywhere in the tree: the map dims the rest, and Enter,
    // F3 or Next steps from match to match.
    Item {
        id: searchBar
        visible: room.map.hasTree
        anchors.top: header.bottom
        x: 20
        width: parent.width - 40
        height: 44

        Row {
            id: searchControls
            anchors.verticalCenter: parent.verticalCenter
            spacing: 6
            InputField {
                id: searchField
                width: 300
                implicitHeight: 30
                symbol: "magnifyingglass"
                rightPadding: clearButton.visible ? 30 : 10
                placeholderText: "Find in the map by name"
                text: room.map.query
                onTextEdited: room.map.query = text
                Keys.onReturnPressed: function(event) { room.step(event.modifiers & Qt.ShiftModifier ? -1 : 1) }
                Keys.onEnterPressed: function(event) { room.step(event.modifiers & Qt.ShiftModifier ? -1 : 1) }
                AbstractButton {
                    id: clearButton
                    visible: searchField.text.length > 0
                    anchors.right: parent.right
                    anchors.rightMargin: 6
                    anchors.verticalCenter: parent.verticalCenter
                    width: 20
                    height: 20
                    hoverEnabled: true
                    onClicked: room.map.query = ""
                    contentItem: Icon {
                        symbol: "xmark"
                        size: 10
                        color: parent.hovered ? Style.theme.text : Style.theme.secondaryText
                    }
                }
            }
            ActionButton {
                symbol: "chevron.left"
                text: "Previous"
                implicitHeight: 28
                enabled: room.map.listedMatches > 0
                help: "The match before this one (Shift+F3)."
                onClicked: room.step(-1)
            }
            ActionButton {
                symbol: "chevron.right"
                text: "Next"
                implicitHeight: 28
                enabled: room.map.listedMatches > 0
                help: "The next match, in the folder that holds it (Enter or F3)."
                onClicked: room.step(1)
            }
        }
        Text {
            anchors.left: searchControls.right
            anchors.leftMargin: 12
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            visible: room.map.query.trim().length > 0
            color: Style.theme.secondaryText
            font.pixelSize: Style.captionSize + 1
            elide: Text.ElideRight
            text: {
                const matches = room.map.matches
                if (!matches) return room.map.isSearching ? "Searching…" : ""
                let line = Format.matches(matches.total, matches.bytes)
                if (room.map.matchIndex >= 0) {
                    line += " Match " + Format.count(room.map.matchIndex + 1) + " of "
                    line += room.map.listedMatches < matches.total
                            ? "the " + Format.count(room.map.listedMatches) + " largest."
                            : Format.count(matches.total) + "."
                }
                return line
            }
        }
    }

    function step(direction) {
        if (direction < 0) room.map.previousMatch()
        else room.map.nextMatch()
    }

    Shortcut {
        sequence: StandardKey.Find
        enabled: room.visible && room.map.hasTree
        onActivated: searchField.forceActiveFocus()
    }
    Shortcut {
        sequences: [StandardKey.FindNext]
        enabled: room.visible && room.map.listedMatches > 0
        onActivated: room.step(1)
    }
    Shortcut {
        sequences: [StandardKey.FindPrevious]
        enabled: room.visible && room.map.listedMatches > 0
        onActivated: room.step(-1)
    }
    Shortcut {
        sequence: "Escape"
        enabled: room.visible && room.map.query.length > 0
        onActivated: room.map.query = ""
    }

    Item {
        id: body
        visible: room.map.hasTree
        anchors.top: searchBar.bottom
        anchors.bottom: footer.top
        x: 20
        width: parent.width - 40

        MapCanvas {
            id: canvas
            anchors.fill: parent
            visible: room.style === "cards" || room.style === "treemap"
            model: room.map
            theme: room.theme
            style: room.style === "treemap" ? "treemap" : "cards"
        }
        BusyIndicator {
            anchors.centerIn: parent
            running: room.map.isWorking
            visible: running
        }
        // What the pointer is over: name, size and share.
        Rectangle {
            id: tip
            visible: canvas.visible && canvas.hoverName.length > 0
            x: Math.min(canvas.hoverPoint.x + 16, body.width - width - 4)
            y: Math.min(canvas.hoverPoint.y + 18, body.height - height - 4)
            width: tipColumn.implicitWidth + 20
            height: tipColumn.implicitHeight + 14
            radius: Style.smallRadius + 2
            color: Style.theme.surface
            border.width: 1
            border.color: Style.theme.outline
            Column {
                id: tipColumn
                x: 10
                y: 7
                spacing: 2
                Text {
                    text: canvas.hoverName
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize
                    font.weight: Font.DemiBold
                    width: Math.min(implicitWidth, 360)
                    elide: Text.ElideMiddle
                }
                Text {
                    text: canvas.hoverDetail
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.captionSize + 1
                }
            }
        }

        MapList {
            anchors.fill: parent
            visible: room.style === "list"
            map: room.map
        }
        MapColumns {
            anchors.fill: parent
            visible: room.style === "columns"
            map: room.map
        }
    }

    // Delete or Backspace moves what is chosen, after the confirmation; never
    // while they edit the search.
    Shortcut {
        sequences: [StandardKey.Delete, "Backspace"]
        enabled: room.visible && room.map.chosenCount > 0 && !searchField.activeFocus
        onActivated: room.session.removeMapSelection()
    }

    Item {
        id: footer
        visible: room.map.hasTree
        anchors.bottom: parent.bottom
        x: 20
        width: parent.width - 40
        height: 44
        ActionButton {
            id: trashButton
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            implicitHeight: 28
            symbol: "trash"
            text: "Move to Trash…"
            enabled: room.map.chosenCount > 0
            help: "Shows what would go and what stays, before anything moves."
            onClicked: room.session.removeMapSelection()
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - trashButton.width - 16
            color: Style.theme.secondaryText
            font.pixelSize: Style.captionSize + 1
            text: room.map.chosenCount > 0
                  ? Format.chosen(room.map.chosenCount, room.map.chosenCount > 1 ? room.map.chosenBytes : room.map.selectionBytes,
                                  room.map.selectionName)
                  : room.map.placeTitle + ": " + Format.bytes(room.map.placeBytes)
                    + (room.map.matches
                       ? ". Enter or F3 goes to the next match, Shift+F3 to the one before; Escape ends the search."
                       : ". Double-click to go in; Back comes out. Ctrl-click or Shift-click selects more than one.")
            elide: Text.ElideRight
        }
    }
}
