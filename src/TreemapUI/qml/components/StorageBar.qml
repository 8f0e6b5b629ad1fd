import QtQuick
import QtQuick.Controls
import Tessel.UI

// Used space by kind, then what the file system keeps for the system (grey),
// then free space, in one rounded bar with its legend.
Column {
    id: storage
    required property var parts      // [{key, title, description, bytes}]
    required property real total     // the disk's size; 0 when unknown
    required property real available
    // {title, description, bytes} of the system's reserve; empty when there is none worth showing.
    property var reserved: ({})
    readonly property bool showsReserved: reserved !== undefined && reserved.bytes !== undefined && reserved.bytes > 0
    readonly property color reservedColor: Style.mix(Style.theme.outline, Style.theme.secondaryText, 0.45)
    spacing: 14

    readonly property real partsSum: {
        let sum = 0
        for (const part of parts) sum += part.bytes
        return sum
    }
    readonly property real scale: total > 0 ? total : Math.max(partsSum, 1)

    function colorFor(index) {
        return Style.theme.palette[index % Style.theme.palette.length]
    }

    Rectangle {
        id: bar
        width: parent.width
        height: 18
        radius: 9
        color: Style.theme.outline
        clip: true
        Row {
            anchors.fill: parent
            Repeater {
                model: storage.parts
                Rectangle {
                    id: segment
                    required property var modelData
                    required property int index
                    width: Math.max(2, bar.width * modelData.bytes / storage.scale)
                    height: bar.height
                    color: storage.colorFor(index)
                    border.width: 0
                    Rectangle {
                        anchors.right: parent.right
                        width: 1
                        height: parent.height
                        color: Style.theme.surface
                        opacity: 0.7
                    }
                    HoverHandler { id: hover }
                    ToolTip.visible: hover.hovered
                    ToolTip.text: modelData.title + ", " + Format.bytes(modelData.bytes) + ". " + modelData.description
                    ToolTip.delay: 250
                }
            }
            Rectangle {
                visible: storage.showsReserved
                width: storage.showsReserved ? Math.max(2, bar.width * storage.reserved.bytes / storage.scale) : 0
                height: bar.height
                color: storage.reservedColor
                HoverHandler { id: reservedHover }
                ToolTip.visible: reservedHover.hovered
                ToolTip.text: storage.showsReserved
                              ? storage.reserved.title + ", " + Format.bytes(storage.reserved.bytes) + ". " + storage.reserved.description : ""
                ToolTip.delay: 250
            }
        }
    }

    Flow {
        width: parent.width
        spacing: 18
        Repeater {
            model: storage.parts
            Row {
                required property var modelData
                required property int index
                spacing: 7
                Rectangle {
                    width: 10
                    height: 10
                    radius: 3
                    color: storage.colorFor(index)
                    anchors.verticalCenter: parent.verticalCenter
                }
                Text {
                    text: modelData.title
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize - 1
                    anchors.verticalCenter: parent.verticalCenter
                }
                Text {
                    text: Format.bytes(modelData.bytes)
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.bodySize - 1
                    anchors.verticalCenter: parent.verticalCenter
                }
            }
        }
        Row {
            visible: storage.showsReserved
            spacing: 7
            Rectangle {
                width: 10
                height: 10
                radius: 3
                color: storage.reservedColor
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: storage.showsReserved ? storage.reserved.title : ""
                color: Style.theme.text
                font.pixelSize: Style.bodySize - 1
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: storage.showsReserved ? Format.bytes(storage.reserved.bytes) : ""
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize - 1
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        Row {
            visible: storage.total > 0
            spacing: 7
            Rectangle {
                width: 10
                height: 10
                radius: 3
                color: Style.theme.outline
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: "Free"
                color: Style.theme.text
                font.pixelSize: Style.bodySize - 1
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: Format.bytes(storage.available)
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize - 1
                anchors.verticalCenter: parent.verticalCenter
            }
        }
    }
    Text {
        visible: storage.showsReserved
        width: parent.width
        text: storage.showsReserved ? storage.reserved.description : ""
        color: Style.theme.secondaryText
        font.pixelSize: Style.captionSize + 1
        wrapMode: Text.Wrap
    }
}
