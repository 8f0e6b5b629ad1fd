import QtQuick
import Tessel.UI

// A raised panel of the content area.
Rectangle {
    default property alias content: inner.data
    property int padding: 20

    radius: Style.radius + 2
    color: Style.theme.surface
    border.width: 1
    border.color: Style.theme.outline
    implicitHeight: inner.childrenRect.height + padding * 2

    Item {
        id: inner
        anchors.fill: parent
        anchors.margins: parent.padding
    }
}
