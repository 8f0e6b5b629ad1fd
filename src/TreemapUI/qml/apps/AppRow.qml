import QtQuick
import Tessel.UI

// One app in a list: its icon, its name (with Running beside it), a line of
// detail under it and its size; highlighted while chosen. A list's rows give
// the required ones.
Rectangle {
    id: row
    required property string name
    required property string icon
    required property string size
    required property bool running
    required property bool chosen
    property string detail
    signal clicked(int modifiers)
    height: 52
    color: row.chosen ? Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.16)
         : rowHover.hovered ? Style.mix(Style.theme.background, Style.theme.text, 0.04) : "transparent"
    HoverHandler { id: rowHover }
    MouseArea {
        anchors.fill: parent
        onClicked: function(mouse) { row.clicked(mouse.modifiers) }
    }
    Accessible.role: Accessible.ListItem
    Accessible.name: row.name
    Accessible.selected: row.chosen
    AppIcon {
        x: 16
        anchors.verticalCenter: parent.verticalCenter
        source: row.icon
        size: 30
    }
    Column {
        x: 56
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - x - sizeText.width - 28
        spacing: 2
        Row {
            width: parent.width
            spacing: 6
            Text {
                width: Math.min(implicitWidth, parent.width - (runningTag.visible ? runningTag.width + 6 : 0))
                elide: Text.ElideRight
                textFormat: Text.PlainText
                text: row.name
                color: Style.theme.text
                font.pixelSize: Style.bodySize
                font.weight: Font.Medium
            }
            Tag {
                id: runningTag
                visible: row.running
                anchors.verticalCenter: parent.verticalCenter
                text: "Running"
                tone: Style.theme.success
            }
        }
        Text {
            width: parent.width
            elide: Text.ElideRight
            textFormat: Text.PlainText
            text: row.detail
            color: Style.theme.secondaryText
            font.pixelSize: Style.captionSize + 1
        }
    }
    Text {
        id: sizeText
        anchors.right: parent.right
        anchors.rightMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        text: row.size.length > 0 ? row.size : "—"
        color: row.size.length > 0 ? Style.theme.text : Style.theme.secondaryText
        font.pixelSize: Style.bodySize
    }
}
