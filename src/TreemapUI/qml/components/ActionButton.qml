import QtQuick
import QtQuick.Controls
import Tessel.UI

// The app's push button: `prominent` for the one main action of a place.
AbstractButton {
    id: button
    property bool prominent: false
    property string symbol
    property string help

    implicitHeight: 32
    implicitWidth: Math.max(72, row.implicitWidth + 28)
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : 0.45

    ToolTip.visible: help.length > 0 && hovered
    ToolTip.text: help
    ToolTip.delay: 500

    background: Rectangle {
        radius: Style.smallRadius + 1
        color: {
            const base = button.prominent ? Style.theme.accent : Style.theme.surface
            if (button.down) return Style.mix(base, Style.theme.text, 0.18)
            if (button.hovered) return Style.mix(base, Style.theme.text, 0.06)
            return base
        }
        border.width: button.prominent ? 0 : 1
        border.color: Style.theme.outline
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: parent.radius + 3
            color: "transparent"
            border.width: 2
            border.color: Style.theme.accent
            opacity: button.visualFocus ? 0.6 : 0
        }
    }
    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 6
            Icon {
                visible: button.symbol.length > 0
                symbol: button.symbol
                size: 14
                color: button.prominent ? "white" : Style.theme.text
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                text: button.text
                color: button.prominent ? "white" : Style.theme.text
                font.pixelSize: Style.bodySize
                font.weight: Font.Medium
                anchors.verticalCenter: parent.verticalCenter
            }
        }
    }
}
