import QtQuick
import Tessel.UI

// A room whose tool is not here yet: what it will hold, in one sentence.
Item {
    id: room
    required property ShellModel shell
    required property string symbol

    Column {
        anchors.centerIn: parent
        width: Math.min(room.width - 80, 460)
        spacing: 14
        Rectangle {
            width: 72
            height: 72
            radius: 36
            anchors.horizontalCenter: parent.horizontalCenter
            color: Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.12)
            Icon {
                anchors.centerIn: parent
                symbol: room.symbol
                size: 32
                color: Style.theme.accent
            }
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: room.shell.roomTitle
            color: Style.theme.text
            font.pixelSize: Style.headingSize + 3
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: room.shell.comingSentence
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize + 1
            wrapMode: Text.Wrap
            lineHeight: 1.2
        }
    }
}
