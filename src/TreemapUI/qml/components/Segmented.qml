import QtQuick
import QtQuick.Controls
import Tessel.UI

// A choice among a few values, side by side: [[value, title], ...].
Rectangle {
    id: control
    required property var options
    property string value
    signal picked(string value)

    implicitWidth: row.implicitWidth + 4
    implicitHeight: 28
    radius: Style.smallRadius + 1
    color: Style.mix(Style.theme.background, Style.theme.text, 0.04)
    border.width: 1
    border.color: Style.theme.outline
    opacity: enabled ? 1 : 0.45

    Row {
        id: row
        x: 2
        y: 2
        Repeater {
            model: control.options
            AbstractButton {
                id: option
                required property var modelData
                readonly property bool current: control.value === modelData[0]
                implicitWidth: Math.max(64, label.implicitWidth + 20)
                implicitHeight: control.height - 4
                hoverEnabled: true
                onClicked: control.picked(modelData[0])
                background: Rectangle {
                    radius: Style.smallRadius
                    color: option.current ? Style.theme.surface : "transparent"
                    border.width: option.current ? 1 : 0
                    border.color: Style.theme.outline
                }
                contentItem: Text {
                    id: label
                    text: option.modelData[1]
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    color: option.current ? Style.theme.text : Style.theme.secondaryText
                    font.pixelSize: Style.bodySize - 1
                    font.weight: option.current ? Font.DemiBold : Font.Normal
                }
            }
        }
    }
}
