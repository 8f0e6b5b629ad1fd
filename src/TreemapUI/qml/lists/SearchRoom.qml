import QtQuick
import QtQuick.Controls
import Tessel.UI

// Files and folders of the scan by name, size and kind, with the searches
// used lately and those kept by name.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: actionBar.visible ? actionBar.height : 0
    readonly property SearchModel search: session.search

    Column {
        id: controls
        x: 24
        y: 18
        width: parent.width - 48
        spacing: 10

        Row {
            spacing: 8
            InputField {
                id: textField
                width: controls.width - sizes.width - 8
                symbol: "magnifyingglass"
                placeholderText: "Words in the name, in any order; \"quotes\" keep words together"
                text: room.search.text
                onTextEdited: room.search.text = text
                onAccepted: room.search.run()
            }
            Row {
                id: sizes
                spacing: 6
                InputField {
                    width: 110
                    placeholderText: "At least"
                    text: room.search.minimum
                    onTextEdited: room.search.minimum = text
                }
                InputField {
                    width: 110
                    placeholderText: "At most"
                    text: room.search.maximum
                    onTextEdited: room.search.maximum = text
                }
            }
        }
        Row {
            spacing: 10
            Segmented {
                options: [["all", "Everything"], ["files", "Files"], ["folders", "Folders"]]
                value: room.search.kind
                onPicked: function(value) { room.search.kind = value }
            }
            Segmented {
                options: [["largest", "Largest First"], ["smallest", "Smallest First"], ["name", "By Name"]]
                value: room.search.sortBy
                onPicked: function(value) { room.search.sortBy = value }
            }
            ActionButton {
                text: "Save Search"
                symbol: "plus"
                implicitHeight: 28
                enabled: room.search.text.trim().length > 0
                onClicked: room.search.save("")
            }
        }
        Flow {
            width: parent.width
            spacing: 6
            visible: room.search.recent.length > 0 || room.search.saved.length > 0
            Text {
                text: "Saved"
                visible: room.search.saved.length > 0
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize + 1
                height: 24
                verticalAlignment: Text.AlignVCenter
            }
            Repeater {
                model: room.search.saved
                Chip {
                    required property var modelData
                    required property int index
                    text: modelData.name
                    removable: true
                    onClicked: room.search.applySaved(index)
                    onRemoved: room.search.forgetSaved(index)
                }
            }
            Text {
                text: "Recent"
                visible: room.search.recent.length > 0
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize + 1
                height: 24
                verticalAlignment: Text.AlignVCenter
            }
            Repeater {
                model: room.search.recent
                Chip {
                    required property string modelData
                    text: modelData
                    onClicked: room.search.applyRecent(modelData)
                }
            }
        }
        Text {
            width: parent.width
            text: room.search.problem.length > 0 ? room.search.problem : room.search.summary
            color: room.search.problem.length > 0 ? Style.theme.warning : Style.theme.secondaryText
            font.pixelSize: Style.bodySize
            wrapMode: Text.Wrap
        }
    }

    NodeTable {
        anchors.top: controls.bottom
        anchors.topMargin: 10
        anchors.bottom: actionBar.visible ? actionBar.top : parent.bottom
        x: 16
        width: parent.width - 32
        room: room.search
        removal: room.session.removal
        emptyText: !room.search.hasTree ? "Search works on the scan, once it is done."
                   : room.search.text.trim().length === 0 && room.search.rows.count === 0
                   ? "Type part of a name. Files under 1 MB are counted in their folders and have no name of their own here."
                   : ""
    }

    RowActionBar {
        id: actionBar
        anchors.bottom: parent.bottom
        width: parent.width
        visible: room.search.rows.count > 0
        rows: room.search
        removal: room.session.removal
    }
}
