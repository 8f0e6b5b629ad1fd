import QtQuick
import QtQuick.Controls
import Tessel.UI

// A room's search under way: how far it is, and the way out.
Column {
    id: pane
    property string title
    property int done
    property int total
    property string waitingText
    property string measuringText
    signal cancel()
    anchors.centerIn: parent
    width: Math.min(parent.width - 80, 420)
    spacing: 12
    Text {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        text: pane.title
        color: Style.theme.text
        font.pixelSize: Style.headingSize
        font.weight: Font.DemiBold
    }
    ProgressBar {
        width: parent.width
        from: 0
        to: Math.max(1, pane.total)
        value: pane.done
        indeterminate: pane.total === 0
    }
    Text {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        text: pane.total === 0 ? pane.waitingText : pane.measuringText
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize
    }
    ActionButton {
        anchors.horizontalCenter: parent.horizontalCenter
        text: "Cancel"
        symbol: "xmark"
        onClicked: pane.cancel()
    }
}
