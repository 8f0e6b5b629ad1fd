import QtQuick
import Tessel.UI

// The bar under a room's ticked lists: what is ticked, and the way to the Trash.
Rectangle {
    id: footer
    required property AppSession session
    property int tickedCount
    property real tickedBytes
    signal remove()
    width: parent.width
    height: visible ? 56 : 0
    color: Style.theme.surface
    Rectangle {
        width: parent.width
        height: 1
        color: Style.theme.outline
    }
    Text {
        x: 24
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - removeButton.width - 64
        elide: Text.ElideRight
        text: footer.tickedCount === 0
              ? "Tick what to move to the Trash."
              : Format.counted(footer.tickedCount, "item", "items") + " ticked, freeing " + Format.bytes(footer.tickedBytes) + "."
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize
    }
    ActionButton {
        id: removeButton
        anchors.right: parent.right
        anchors.rightMargin: 24
        anchors.verticalCenter: parent.verticalCenter
        prominent: true
        symbol: "trash"
        text: "Move to Trash…"
        enabled: footer.tickedCount > 0 && !footer.session.removal.isWorking
        onClicked: footer.remove()
    }
}
