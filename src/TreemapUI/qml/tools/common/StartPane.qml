import QtQuick
import Tessel.UI

// A room with nothing to show yet: what it does and the button that starts it;
// after a look that found nothing, the same place says so.
Column {
    id: pane
    property bool lookedAlready
    property string symbol
    property string title
    property string text
    property string buttonText
    property string buttonSymbol: "sparkle.magnifyingglass"
    signal start()
    anchors.centerIn: parent
    width: Math.min(parent.width - 80, 460)
    spacing: 10
    Rectangle {
        width: 64
        height: 64
        radius: 32
        anchors.horizontalCenter: parent.horizontalCenter
        color: Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.12)
        Icon {
            anchors.centerIn: parent
            symbol: pane.lookedAlready ? "checkmark.circle.fill" : pane.symbol
            size: 28
            color: Style.theme.accent
        }
    }
    Text {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: pane.title
        color: Style.theme.text
        font.pixelSize: Style.headingSize + 2
        font.weight: Font.DemiBold
    }
    Text {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: pane.text
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize + 1
        lineHeight: 1.2
    }
    ActionButton {
        anchors.horizontalCenter: parent.horizontalCenter
        prominent: !pane.lookedAlready
        text: pane.lookedAlready ? "Find Again" : pane.buttonText
        symbol: pane.lookedAlready ? "arrow.clockwise" : pane.buttonSymbol
        onClicked: pane.start()
    }
}
