import QtQuick
import Tessel.UI

// A share 0 to 1 as a thin rounded bar: how full a disk is, how charged a battery.
Rectangle {
    property real share: 0
    property color fill: Style.theme.accent
    height: 6
    radius: height / 2
    color: Style.theme.outline
    Rectangle {
        width: parent.width * Math.min(1, Math.max(0, parent.share))
        height: parent.height
        radius: parent.radius
        color: parent.fill
    }
}
