import QtQuick
import QtQuick.Controls
import Tessel.UI

// What a right-click on a chosen row offers: the same as the bar under the list.
Menu {
    id: menu
    required property var rows
    required property RemovalRoad removal

    MenuItem {
        text: "Open"
        enabled: menu.rows.canOpen
        onTriggered: menu.rows.openChosen()
    }
    MenuItem {
        text: "Show in Files"
        enabled: menu.rows.chosenCount > 0
        onTriggered: menu.rows.showChosenInFiles()
    }
    MenuSeparator {}
    MenuItem {
        text: "Move to Trash…"
        enabled: menu.rows.chosenCount > 0 && !menu.removal.isWorking
        onTriggered: menu.rows.moveChosenToTrash()
    }
}
