import QtQuick
import Tessel.UI

// A command for the user to run in a terminal, selectable, with a button that copies it.
Rectangle {
    id: box
    property string command
    signal copy()
    height: Math.max(commandText.implicitHeight, copyButton.height) + 12
    radius: Style.smallRadius
    color: Style.mix(Style.theme.background, Style.theme.text, 0.05)
    border.width: 1
    border.color: Style.theme.outline
    TextEdit {
        id: commandText
        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.right: copyButton.left
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        readOnly: true
        selectByMouse: true
        wrapMode: TextEdit.WrapAtWordBoundaryOrAnywhere
        textFormat: TextEdit.PlainText
        text: box.command
        color: Style.theme.text
        selectionColor: Style.theme.highlight
        font.family: "monospace"
        font.pixelSize: Style.bodySize
        Accessible.name: "Command"
    }
    ActionButton {
        id: copyButton
        anchors.right: parent.right
        anchors.rightMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        text: "Copy"
        symbol: "doc.on.doc"
        help: "Copy the command, to paste it in a terminal"
        onClicked: box.copy()
    }
}
