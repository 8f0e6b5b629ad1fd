import QtQuick
import Tessel.UI

// A scan that could not start: what went wrong, and a way on.
Item {
    id: view
    required property ScanCoordinator scan

    Column {
        anchors.centerIn: parent
        width: Math.min(view.width - 80, 480)
        spacing: 14
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            symbol: "exclamationmark.triangle.fill"
            size: 44
            color: Style.theme.warning
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Could not scan that folder"
            color: Style.theme.text
            font.pixelSize: Style.headingSize + 3
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: view.scan.failure
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize + 1
            wrapMode: Text.Wrap
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 10
            topPadding: 6
            ActionButton {
                text: "Scan Again"
                onClicked: view.scan.start()
            }
            ActionButton {
                prominent: true
                text: "Choose Another…"
                onClicked: view.scan.chooseFolder()
            }
        }
    }
}
