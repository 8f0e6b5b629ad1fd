import QtQuick
import Tessel.UI

// One figure of a card: what it is on the left, its value on the right.
Item {
    property string label
    property string value
    property color swatch: "transparent"
    width: parent ? parent.width : 200
    implicitHeight: Math.max(labelText.implicitHeight, valueText.implicitHeight) + 4

    Rectangle {
        id: mark
        visible: parent.swatch.a > 0
        width: 8
        height: 8
        radius: 4
        color: parent.swatch
        anchors.verticalCenter: parent.verticalCenter
    }
    Text {
        id: labelText
        anchors.left: mark.visible ? mark.right : parent.left
        anchors.leftMargin: mark.visible ? 6 : 0
        anchors.verticalCenter: parent.verticalCenter
        text: parent.label
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize
    }
    Text {
        id: valueText
        anchors.right: parent.right
        anchors.left: labelText.right
        anchors.leftMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignRight
        elide: Text.ElideLeft
        text: parent.value
        color: Style.theme.text
        font.pixelSize: Style.bodySize
    }
}
