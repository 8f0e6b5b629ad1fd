import QtQuick
import QtQuick.Controls
import Tessel.UI

// The confirmation that stands before anything moves: what goes to the
// Trash and how much it frees, and what stays, each with its reason.
Popup {
    id: sheet
    required property RemovalRoad removal

    modal: true
    focus: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(620, (parent ? parent.width : 800) - 80)
    height: Math.min(content.implicitHeight + 40, (parent ? parent.height : 600) - 80)
    padding: 0
    visible: removal.hasPlan
    closePolicy: Popup.CloseOnEscape
    onClosed: if (removal.hasPlan) removal.cancel()

    Overlay.modal: Rectangle { color: Qt.rgba(0, 0, 0, 0.35) }
    background: Rectangle {
        radius: 14
        color: Style.theme.surface
        border.width: 1
        border.color: Style.theme.outline
    }

    component Group: Column {
        id: group
        required property string heading
        required property var rows
        // "…and 900 more items" when only the first rows are listed.
        property string more: ""
        width: parent ? parent.width : 0
        spacing: 4
        visible: rows.length > 0
        Text {
            text: group.heading
            color: Style.theme.secondaryText
            font.pixelSize: Style.captionSize
            font.weight: Font.DemiBold
            font.letterSpacing: 0.6
            topPadding: 8
        }
        Repeater {
            model: group.rows
            Rectangle {
                id: row
                required property var modelData
                width: group.width
                height: rowColumn.implicitHeight + 14
                radius: Style.smallRadius
                color: Style.mix(Style.theme.surface, Style.theme.text, 0.03)
                Column {
                    id: rowColumn
                    x: 10
                    y: 7
                    width: parent.width - 20 - (button.visible ? button.width + 10 : 0)
                    spacing: 2
                    Row {
                        spacing: 8
                        Text {
                            text: row.modelData.name
                            color: Style.theme.text
                            font.pixelSize: Style.bodySize
                            font.weight: Font.Medium
                            elide: Text.ElideMiddle
                            width: Math.min(implicitWidth, rowColumn.width - 90)
                        }
                        Text {
                            text: Format.bytes(row.modelData.bytes)
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.bodySize - 1
                        }
                    }
                    Text {
                        width: parent.width
                        text: row.modelData.explanation.length > 0 ? row.modelData.explanation : row.modelData.path
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.captionSize + 1
                        wrapMode: row.modelData.explanation.length > 0 ? Text.Wrap : Text.NoWrap
                        elide: Text.ElideMiddle
                    }
                }
                ActionButton {
                    id: button
                    visible: row.modelData.buttonTitle.length > 0
                    anchors.right: parent.right
                    anchors.rightMargin: 10
                    anchors.verticalCenter: parent.verticalCenter
                    implicitHeight: 26
                    text: row.modelData.buttonTitle
                    help: row.modelData.buttonHelp
                    onClicked: row.modelData.reason === "inTrash" ? sheet.removal.openTrash()
                                                                  : sheet.removal.showInFileManager([row.modelData.path])
                }
            }
        }
        Text {
            visible: group.more.length > 0
            text: group.more
            color: Style.theme.secondaryText
            font.pixelSize: Style.captionSize + 1
            leftPadding: 10
        }
    }

    contentItem: Flickable {
        contentHeight: content.implicitHeight + 40
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}
        Column {
            id: content
            x: 24
            y: 20
            width: sheet.width - 48
            spacing: 10

            Row {
                spacing: 12
                Rectangle {
                    width: 40
                    height: 40
                    radius: 10
                    color: Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.14)
                    Icon {
                        anchors.centerIn: parent
                        symbol: "trash.fill"
                        size: 20
                        color: Style.theme.accent
                    }
                }
                Column {
                    width: content.width - 52
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 3
                    Text {
                        width: parent.width
                        text: sheet.removal.heading.length > 0 ? sheet.removal.heading : sheet.removal.title
                        color: Style.theme.text
                        font.pixelSize: Style.headingSize + 2
                        font.weight: Font.DemiBold
                        wrapMode: Text.Wrap
                    }
                    Text {
                        width: parent.width
                        visible: sheet.removal.heading.length === 0
                        text: "What goes can be put back from the Trash until it is emptied."
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                        wrapMode: Text.Wrap
                    }
                }
            }
            Text {
                width: parent.width
                visible: sheet.removal.body.length > 0
                text: sheet.removal.body
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize
                wrapMode: Text.Wrap
                lineHeight: 1.15
            }
            Group { heading: ""; rows: sheet.removal.allowedRows; more: sheet.removal.allowedMore }
            Group {
                heading: sheet.removal.administratorTitle
                rows: sheet.removal.administratorRows
                more: sheet.removal.administratorMore
            }
            Group { heading: sheet.removal.skippedTitle; rows: sheet.removal.skippedRows; more: sheet.removal.skippedMore }
            Row {
                anchors.right: parent.right
                spacing: 10
                topPadding: 8
                ActionButton {
                    text: sheet.removal.canConfirm ? "Cancel" : "Close"
                    onClicked: sheet.removal.cancel()
                }
                ActionButton {
                    visible: sheet.removal.canConfirm || sheet.removal.isWorking
                    enabled: sheet.removal.canConfirm
                    prominent: true
                    symbol: "trash"
                    text: sheet.removal.isWorking ? "Moving…" : "Move to Trash"
                    onClicked: sheet.removal.confirm()
                }
            }
        }
    }
}
