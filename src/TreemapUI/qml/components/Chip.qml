import QtQuick
import QtQuick.Controls
import Tessel.UI

// A small rounded button for a remembered search.
AbstractButton {
    id: chip
    property bool removable: false
    signal removed()

    implicitHeight: 24
    implicitWidth: row.implicitWidth + 18
    hoverEnabled: true
    background: Rectangle {
        radius: 12
        color: chip.hovered ? Style.theme.highlight : Style.mix(Style.theme.background, Style.theme.text, 0.05)
        border.width: 1
        border.color: Style.theme.outline
    }
    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 6
            Text {
                text: chip.text
                color: Style.theme.text
                font.pixelSize: Style.captionSize + 1
                anchors.verticalCenter: parent.verticalCenter
            }
            AbstractButton {
                visible: chip.removable
                width: 12
                height: 12
                anchors.verticalCenter: parent.verticalCenter
                Accessible.name: "Forget " + chip.text
                onClicked: chip.removed()
                contentItem: Icon { symbol: "xmark"; size: 9; color: Style.theme.secondaryText }
            }
        }
    }
}
