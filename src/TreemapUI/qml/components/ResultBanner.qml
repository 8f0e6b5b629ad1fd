import QtQuick
import Tessel.UI

// What the newest change did, above a room's list, with the button that takes
// it back while it can be; a change that did nothing says why, in warning colours.
Rectangle {
    id: banner
    property string text
    property string detail
    property bool refused: false
    property string actionText: "Undo"
    property string actionHelp
    property bool actionShown: true
    property bool actionEnabled: true
    signal act()
    readonly property color tone: refused ? Style.theme.warning : Style.theme.success
    visible: text.length > 0
    height: visible ? Math.max(resultText.implicitHeight, action.visible ? action.height : 0) + 24 : 0
    radius: Style.radius
    color: Style.mix(Style.theme.surface, banner.tone, 0.1)
    border.width: 1
    border.color: Style.mix(Style.theme.outline, banner.tone, 0.4)
    Icon {
        id: resultIcon
        x: 14
        anchors.verticalCenter: parent.verticalCenter
        symbol: banner.refused ? "exclamationmark.triangle.fill" : "checkmark.circle.fill"
        size: 20
        color: banner.tone
    }
    Column {
        id: resultText
        anchors.left: resultIcon.right
        anchors.leftMargin: 10
        anchors.right: action.visible ? action.left : parent.right
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        Text {
            width: parent.width
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
            text: banner.text
            color: Style.theme.text
            font.pixelSize: Style.bodySize + 1
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            visible: text.length > 0
            wrapMode: Text.Wrap
            text: banner.detail
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
    }
    ActionButton {
        id: action
        visible: banner.actionShown
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        text: banner.actionText
        help: banner.actionHelp
        symbol: "arrow.uturn.backward"
        enabled: banner.actionEnabled
        onClicked: banner.act()
    }
}
