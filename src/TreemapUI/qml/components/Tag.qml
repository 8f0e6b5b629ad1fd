import QtQuick
import Tessel.UI

// A small pill beside a row's name that says what sets it apart: "In use", "Stays".
Rectangle {
    id: tag
    property string text
    property color tone: Style.theme.secondaryText
    width: label.implicitWidth + 12
    height: 17
    radius: 8.5
    color: Style.mix(Style.theme.background, tone, 0.18)
    Text {
        id: label
        anchors.centerIn: parent
        text: tag.text
        color: tag.tone
        font.pixelSize: Style.captionSize
        font.weight: Font.DemiBold
    }
}
