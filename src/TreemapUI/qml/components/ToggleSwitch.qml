import QtQuick
import QtQuick.Controls
import Tessel.UI

// An on/off switch in the app's colours.
AbstractButton {
    id: toggle
    checkable: true
    implicitWidth: 38
    implicitHeight: 22
    hoverEnabled: true
    opacity: enabled ? 1 : 0.45
    focusPolicy: Qt.StrongFocus

    background: Rectangle {
        radius: height / 2
        color: toggle.checked ? Style.theme.accent : Style.mix(Style.theme.outline, Style.theme.text, 0.12)
        Behavior on color { ColorAnimation { duration: 120 } }
        Rectangle {
            x: toggle.checked ? parent.width - width - 2 : 2
            y: 2
            width: parent.height - 4
            height: width
            radius: width / 2
            color: "white"
            border.width: 1
            border.color: Qt.rgba(0, 0, 0, 0.08)
            Behavior on x { NumberAnimation { duration: 120; easing.type: Easing.OutCubic } }
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: height / 2
            color: "transparent"
            border.width: 2
            border.color: Style.theme.accent
            opacity: toggle.visualFocus ? 0.5 : 0
        }
    }
    contentItem: Item {}
}
