import QtQuick
import QtQuick.Controls
import Tessel.UI

// The folders the last scan could not read whole, each a click away from the
// file manager. Opened from the scan's notice; the total leaves them out.
Popup {
    id: sheet
    required property AppSession session
    property string title
    property int count: 0
    readonly property var paths: session.scan.shortFolders

    function show(heading, total) {
        title = heading
        count = total
        open()
    }

    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(620, (parent ? parent.width : 800) - 80)
    height: Math.min(header.implicitHeight + list.contentHeight + footer.implicitHeight + 60,
                     (parent ? parent.height : 600) - 80)
    padding: 0
    closePolicy: Popup.CloseOnEscape

    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, 0.35) }
    background: Rectangle {
        radius: 14
        color: Style.theme.surface
        border.width: 1
        border.color: Style.theme.outline
    }

    contentItem: Item {
        Column {
            id: header
            x: 24
            y: 20
            width: parent.width - 48
            spacing: 4
            Text {
                width: parent.width
                text: sheet.title
                color: Style.theme.text
                font.pixelSize: Style.headingSize + 2
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
            Text {
                width: parent.width
                text: "Your user account may not open them, so the total leaves out what they hold. Tessel never asks for administrator rights."
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize
                wrapMode: Text.Wrap
                lineHeight: 1.15
            }
        }
        ListView {
            id: list
            x: 24
            anchors.top: header.bottom
            anchors.topMargin: 12
            anchors.bottom: footer.top
            anchors.bottomMargin: 8
            width: parent.width - 48
            clip: true
            spacing: 4
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}
            model: sheet.paths
            delegate: Rectangle {
                id: row
                required property string modelData
                width: list.width
                height: 40
                radius: Style.smallRadius
                color: Style.mix(Style.theme.surface, Style.theme.text, 0.03)
                Icon {
                    id: icon
                    x: 10
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: "folder"
                    size: 14
                    color: Style.theme.secondaryText
                }
                Text {
                    anchors.left: icon.right
                    anchors.leftMargin: 8
                    anchors.right: reveal.left
                    anchors.rightMargin: 10
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.modelData
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize
                    elide: Text.ElideMiddle
                }
                ActionButton {
                    id: reveal
                    anchors.right: parent.right
                    anchors.rightMargin: 8
                    anchors.verticalCenter: parent.verticalCenter
                    implicitHeight: 26
                    text: "Show in Files"
                    onClicked: sheet.session.showInFiles([row.modelData])
                }
            }
        }
        Item {
            id: footer
            anchors.bottom: parent.bottom
            x: 24
            width: parent.width - 48
            implicitHeight: 56
            height: implicitHeight
            Text {
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                visible: sheet.count > sheet.paths.length
                text: "The first " + Format.count(sheet.paths.length) + " are listed."
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize + 1
            }
            ActionButton {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: "Close"
                prominent: true
                onClicked: sheet.close()
            }
        }
    }
}
