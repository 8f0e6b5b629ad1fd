import QtQuick
import QtQuick.Controls
import Tessel.UI

// Groups of found things as cards, largest first: a tick box for the group
// and for each row, the row's name, its tags and the sentence that says why,
// and for what Tessel leaves to another program, the command to copy.
// The model decides what a press ticks; the view only asks.
ListView {
    id: list
    signal toggle(string path)
    signal toggleGroup(string groupId)
    signal copy(string command)
    clip: true
    spacing: 10
    ScrollBar.vertical: ScrollBar {}

    function toneOf(name) {
        if (name === "warning") return Style.theme.warning
        if (name === "accent") return Style.theme.accent
        return Style.theme.secondaryText
    }

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
                    nextCheckState: function() { return modelState }
                    onClicked: {
                        list.toggleGroup(group.groupId)
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
                        width: parent.width
                        elide: Text.ElideRight
                        textFormat: Text.PlainText
                        text: group.title
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize + 1
                        font.weight: Font.DemiBold
                    }
                    Text {
                        width: parent.width
                        visible: text.length > 0
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
                        enabled: row.modelData.tickable
                        checked: row.modelData.ticked
                        onToggled: {
                            list.toggle(row.modelData.path)
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
                            id: nameLine
                            width: parent.width
                            spacing: 8
                            Text {
                                width: Math.min(implicitWidth, parent.width - tags.width - (tags.width > 0 ? 8 : 0))
                                elide: Text.ElideMiddle
                                textFormat: Text.PlainText
                                text: row.modelData.name
                                color: Style.theme.text
                                font.pixelSize: Style.bodySize
                            }
                            Row {
                                id: tags
                                spacing: 6
                                anchors.verticalCenter: parent.verticalCenter
                                Repeater {
                                    model: row.modelData.tags
                                    delegate: Tag {
                                        required property var modelData
                                        text: modelData.text
                                        tone: list.toneOf(modelData.tone)
                                    }
                                }
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
                        CommandBox {
                            width: Math.min(parent.width, 520)
                            visible: (row.modelData.command ?? "").length > 0
                            command: row.modelData.command ?? ""
                            onCopy: list.copy(command)
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
