import QtQuick
import QtQuick.Controls
import Tessel.UI

// A one-line text field in the app's colours.
TextField {
    id: field
    property string symbol
    implicitHeight: 32
    leftPadding: symbol.length > 0 ? 32 : 10
    color: Style.theme.text
    placeholderTextColor: Style.theme.secondaryText
    selectionColor: Style.theme.highlight
    font.pixelSize: Style.bodySize
    background: Rectangle {
        radius: Style.smallRadius + 1
        color: Style.theme.surface
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? Style.theme.accent : Style.theme.outline
        Icon {
            visible: field.symbol.length > 0
            x: 10
            anchors.verticalCenter: parent.verticalCenter
            symbol: field.symbol
            size: 14
            color: Style.theme.secondaryText
        }
    }
}
