import QtQuick
import QtQuick.Controls
import Tessel.UI

// The bar under a list whose rows act: what is chosen, and what it can do.
// `rows` is the room's model: chosenCount, chosenBytes, chosenName, canOpen,
// and openChosen(), showChosenInFiles(), moveChosenToTrash().
Rectangle {
    id: bar
    required property var rows
    required property RemovalRoad removal
    property string hint: "Click to choose a row, Ctrl- or Shift-click for more, right-click for a menu."

    height: 52
    color: Style.theme.surface

    Shortcut {
        sequences: [StandardKey.Delete, "Backspace"]
        enabled: bar.visible && bar.rows.chosenCount > 0 && !bar.removal.isWorking
        onActivated: bar.rows.moveChosenToTrash()
    }

    Rectangle {
        width: parent.width
        height: 1
        color: Style.theme.outline
    }
    Text {
        x: 24
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - actions.width - 64
        elide: Text.ElideRight
        text: bar.rows.chosenCount > 0 ? Format.chosen(bar.rows.chosenCount, bar.rows.chosenBytes, bar.rows.chosenName)
                                       : bar.hint
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize - 1
    }
    Row {
        id: actions
        anchors.right: parent.right
        anchors.rightMargin: 24
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8
        ActionButton {
            text: "Open"
            enabled: bar.rows.canOpen
            help: "Opens with the application chosen for its kind; a folder opens in the file manager."
            onClicked: bar.rows.openChosen()
        }
        ActionButton {
            text: "Show in Files"
            enabled: bar.rows.chosenCount > 0
            onClicked: bar.rows.showChosenInFiles()
        }
        ActionButton {
            prominent: true
            symbol: "trash"
            text: "Move to Trash…"
            enabled: bar.rows.chosenCount > 0 && !bar.removal.isWorking
            help: "Shows what would go and what stays, before anything moves."
            onClicked: bar.rows.moveChosenToTrash()
        }
    }
}
