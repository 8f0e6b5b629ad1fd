import QtQuick
import Tessel.UI

// What the file manager does not show: items whose names begin with a dot,
// with what each one is and whether it comes back by itself.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: actionBar.visible ? actionBar.height : 0
    readonly property HiddenFilesModel hidden: session.tools.hidden

    Text {
        id: heading
        x: 24
        y: 18
        width: parent.width - 48
        wrapMode: Text.Wrap
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize
        text: room.hidden.hasTree && room.hidden.rows.count > 0
              ? Format.counted(room.hidden.totalMatched, "hidden item", "hidden items") + ", " + Format.bytes(room.hidden.totalBytes)
                + " in all. A hidden folder is listed whole, with what it holds."
              : ""
    }
    NodeTable {
        anchors.top: heading.bottom
        anchors.topMargin: 12
        anchors.bottom: actionBar.visible ? actionBar.top : parent.bottom
        x: 16
        width: parent.width - 32
        room: room.hidden
        removal: room.session.removal
        showsNotes: true
        emptyText: room.hidden.hasTree ? "Nothing hidden takes space here."
                                        : "Hidden files appear when the scan is done."
    }

    RowActionBar {
        id: actionBar
        anchors.bottom: parent.bottom
        width: parent.width
        visible: room.hidden.rows.count > 0
        rows: room.hidden
        removal: room.session.removal
    }
}
