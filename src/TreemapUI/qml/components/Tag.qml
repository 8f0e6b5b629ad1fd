import QtQuick
import Tessel.UI

// A small rounded word beside a row's name: "In use", "Certain".
Rectangle {
    id: tag
    property string text
    property color tone
    width: tagLabel.implicitWidth + 12
    height: 17
    radius: 8.5
    color: Style.mix(Style.theme.background, tone, 0.18)
    Text {
        id: tagLabel
        anchors.centerIn: parent
        text: tag.text
        color: tag.tone
        font.pixelSize: Style.captionSize
        font.weight: Font.DemiBold
    }
}
