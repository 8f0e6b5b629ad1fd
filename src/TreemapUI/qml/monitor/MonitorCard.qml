import QtQuick
import Tessel.UI

// A card of the monitor: its symbol and title, the headline figure at the
// right, a line under it, then what the card holds.
Card {
    id: card
    property string title
    property string symbol
    property string figure
    property string detail
    default property alias body: column.data

    Column {
        id: column
        width: parent.width
        spacing: 12
        Item {
            width: parent.width
            height: Math.max(heading.height, figureText.implicitHeight)
            Row {
                id: heading
                spacing: 8
                anchors.verticalCenter: parent.verticalCenter
                Icon {
                    symbol: card.symbol
                    size: 18
                    color: Style.theme.accent
                    anchors.verticalCenter: parent.verticalCenter
                }
                Text {
                    text: card.title
                    color: Style.theme.text
                    font.pixelSize: Style.headingSize
                    font.weight: Font.DemiBold
                    anchors.verticalCenter: parent.verticalCenter
                }
            }
            Text {
                id: figureText
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: card.figure
                color: Style.theme.text
                font.pixelSize: Style.titleSize + 2
                font.weight: Font.DemiBold
            }
        }
        Text {
            width: parent.width
            visible: text.length > 0
            text: card.detail
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
            wrapMode: Text.Wrap
        }
    }
}
