import QtQuick
import Tessel.UI

// Above a room's ticked lists: what was found, a word on what stays, and the
// buttons that tick the recommended, tick everything, or look again.
Item {
    id: header
    property string headline
    property string detail
    property string recommendedHelp
    property string allHelp
    signal selectRecommended()
    signal selectAll()
    signal findAgain()
    x: 24
    y: 18
    width: parent.width - 48
    height: visible ? Math.max(intro.implicitHeight, controls.implicitHeight) : 0
    Column {
        id: intro
        width: parent.width - controls.width - 16
        anchors.verticalCenter: parent.verticalCenter
        spacing: 3
        Text {
            width: parent.width
            wrapMode: Text.Wrap
            text: header.headline
            color: Style.theme.text
            font.pixelSize: Style.bodySize + 1
            font.weight: Font.Medium
        }
        Text {
            width: parent.width
            visible: text.length > 0
            wrapMode: Text.Wrap
            text: header.detail
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
    }
    Row {
        id: controls
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8
        ActionButton {
            text: "Select Recommended"
            help: header.recommendedHelp
            onClicked: header.selectRecommended()
        }
        ActionButton {
            text: "Select All"
            help: header.allHelp
            onClicked: header.selectAll()
        }
        ActionButton {
            text: "Find Again"
            symbol: "arrow.clockwise"
            onClicked: header.findAgain()
        }
    }
}
