import QtQuick
import QtQuick.Controls
import Tessel.UI

// Files with identical contents: one card per group, the copy that stays on
// top with why it stays, the others ticked, and what the ticked ones free.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: footer.visible ? footer.height : 0
    readonly property DuplicatesModel duplicates: session.tools.duplicates
    readonly property bool working: duplicates.state === DuplicatesModel.Working
    readonly property bool hasGroups: duplicates.groups.count > 0

    Component.onCompleted: duplicates.look()
    Connections {
        target: room.duplicates
        function onStateChanged() { if (room.duplicates.state === DuplicatesModel.Ready) room.duplicates.look() }
    }

    Item {
        id: header
        x: 24
        y: 18
        width: parent.width - 48
        height: Math.max(intro.implicitHeight, controls.implicitHeight)
        visible: room.duplicates.state === DuplicatesModel.Done || room.duplicates.state === DuplicatesModel.Stopped
        Text {
            id: intro
            width: parent.width - controls.width - 16
            anchors.verticalCenter: parent.verticalCenter
            wrapMode: Text.Wrap
            text: room.duplicates.summary
            color: Style.theme.text
            font.pixelSize: Style.bodySize + 1
            font.weight: Font.Medium
        }
        Row {
            id: controls
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: 8
            visible: room.hasGroups
            Segmented {
                anchors.verticalCenter: parent.verticalCenter
                options: [["original", "Keep the Original"], ["oldest", "Keep the Oldest"]]
                value: room.duplicates.keeping
                onPicked: value => value === "oldest" ? room.duplicates.keepOldest() : room.duplicates.keepOriginal()
            }
            ComboBox {
                id: orderPicker
                anchors.verticalCenter: parent.verticalCenter
                width: 170
                height: 32
                readonly property var orders: [["reclaimable", "Most to free"], ["size", "Largest files"],
                                               ["copies", "Most copies"], ["name", "Name"]]
                model: orders.map(entry => entry[1])
                currentIndex: Math.max(0, orders.findIndex(entry => entry[0] === room.duplicates.order))
                onActivated: index => room.duplicates.order = orders[index][0]
            }
        }
    }

    // Looking: the phase, how far, and the way out.
    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 420)
        spacing: 12
        visible: room.working
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Looking for identical files"
            color: Style.theme.text
            font.pixelSize: Style.headingSize
            font.weight: Font.DemiBold
        }
        ProgressBar {
            width: parent.width
            from: 0
            to: 1
            value: room.duplicates.fraction
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
            text: room.duplicates.progressText
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
        ActionButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Cancel"
            symbol: "xmark"
            onClicked: room.duplicates.cancel()
        }
    }

    // Nothing to show: no tree yet, or no group found.
    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 80, 440)
        spacing: 8
        visible: !room.working && !room.hasGroups
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            symbol: "doc.on.doc"
            size: 30
            color: Style.theme.secondaryText
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: room.duplicates.state === DuplicatesModel.Waiting || room.duplicates.state === DuplicatesModel.Ready
                  ? "Duplicates appear when the scan is done."
                  : room.duplicates.state === DuplicatesModel.Stopped ? "Stopped" : "No duplicates"
            color: Style.theme.text
            font.pixelSize: Style.headingSize
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            visible: room.duplicates.state === DuplicatesModel.Done || room.duplicates.state === DuplicatesModel.Stopped
            text: room.duplicates.state === DuplicatesModel.Stopped
                  ? "The comparison was stopped before any group was settled."
                  : "Nothing of 1 MB or more here has an identical copy."
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize + 1
        }
        ActionButton {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: room.duplicates.state === DuplicatesModel.Stopped
            text: "Look Again"
            symbol: "arrow.clockwise"
            onClicked: room.duplicates.lookAgain()
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
        visible: !room.working && room.hasGroups
        model: room.duplicates.groups
        ScrollBar.vertical: ScrollBar {}
        delegate: Card {
            id: group
            required property int index
            required property string title
            required property string detail
            required property string frees
            required property var files
            width: list.width - 12
            padding: 14
            Column {
                width: parent.width
                spacing: 6
                Item {
                    width: parent.width
                    height: 22
                    Icon {
                        id: groupIcon
                        anchors.verticalCenter: parent.verticalCenter
                        symbol: "doc.on.doc"
                        size: 16
                        color: Style.theme.accent
                    }
                    Text {
                        anchors.left: groupIcon.right
                        anchors.leftMargin: 8
                        anchors.right: freesText.left
                        anchors.rightMargin: 12
                        anchors.verticalCenter: parent.verticalCenter
                        elide: Text.ElideMiddle
                        textFormat: Text.PlainText
                        text: group.title + "  ·  " + group.detail
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize + 1
                        font.weight: Font.DemiBold
                    }
                    Text {
                        id: freesText
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        text: group.frees
                        color: group.frees.startsWith("Frees ") && !group.frees.startsWith("Frees nothing")
                               ? Style.theme.accent : Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                        font.weight: Font.Medium
                    }
                }
                Repeater {
                    model: group.files
                    delegate: Rectangle {
                        id: copy
                        required property var modelData
                        required property int index
                        width: parent.width
                        height: copyText.implicitHeight + 12
                        radius: Style.smallRadius
                        color: modelData.isKeeper ? Style.mix(Style.theme.surface, Style.theme.success, 0.08)
                                                  : (modelData.ticked ? Style.mix(Style.theme.surface, Style.theme.accent, 0.06) : "transparent")
                        CheckBox {
                            id: tick
                            x: 2
                            anchors.verticalCenter: parent.verticalCenter
                            checked: copy.modelData.ticked
                            onToggled: {
                                room.duplicates.toggle(group.index, copy.index)
                                checked = Qt.binding(() => copy.modelData.ticked)
                            }
                            ToolTip.visible: hovered
                            ToolTip.text: copy.modelData.ticked ? "Keep this copy" : "Move this copy to the Trash"
                        }
                        Column {
                            id: copyText
                            anchors.left: tick.right
                            anchors.leftMargin: 4
                            anchors.right: copyFigures.left
                            anchors.rightMargin: 12
                            anchors.verticalCenter: parent.verticalCenter
                            spacing: 1
                            Row {
                                width: parent.width
                                spacing: 8
                                Text {
                                    width: Math.min(implicitWidth, parent.width - (keeperTag.visible ? keeperTag.width + 8 : 0))
                                    elide: Text.ElideMiddle
                                    textFormat: Text.PlainText
                                    text: copy.modelData.name
                                    color: Style.theme.text
                                    font.pixelSize: Style.bodySize
                                    font.weight: copy.modelData.isKeeper ? Font.DemiBold : Font.Normal
                                }
                                Tag {
                                    id: keeperTag
                                    visible: copy.modelData.isKeeper
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: "Stays"
                                    tone: Style.theme.success
                                }
                            }
                            Text {
                                width: parent.width
                                elide: Text.ElideMiddle
                                textFormat: Text.PlainText
                                text: copy.modelData.folder
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                            Text {
                                width: parent.width
                                visible: text.length > 0
                                wrapMode: Text.Wrap
                                textFormat: Text.PlainText
                                text: [copy.modelData.reason, copy.modelData.sharing,
                                       copy.modelData.otherNames.length > 0 ? "Also named " + copy.modelData.otherNames : ""]
                                      .filter(part => part.length > 0).join("  ·  ")
                                color: copy.modelData.isKeeper ? Style.theme.success : Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                        }
                        Column {
                            id: copyFigures
                            anchors.right: parent.right
                            anchors.rightMargin: 8
                            anchors.verticalCenter: parent.verticalCenter
                            Text {
                                anchors.right: parent.right
                                text: copy.modelData.size
                                color: Style.theme.text
                                font.pixelSize: Style.bodySize
                            }
                            Text {
                                anchors.right: parent.right
                                text: copy.modelData.modified
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                        }
                    }
                }
            }
        }
    }

    Rectangle {
        id: footer
        anchors.bottom: parent.bottom
        width: parent.width
        height: visible ? 56 : 0
        visible: !room.working && room.hasGroups
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
            text: room.duplicates.tickedCount === 0
                  ? "Tick the copies to move to the Trash."
                  : Format.counted(room.duplicates.tickedCount, "copy", "copies") + " ticked, freeing "
                    + Format.bytes(room.duplicates.tickedBytes) + ". They go to the Trash, from where they can be put back."
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
            text: room.duplicates.removeTitle
            enabled: room.duplicates.tickedCount > 0 && !room.session.removal.isWorking
            onClicked: room.duplicates.removeTicked()
        }
    }
}
