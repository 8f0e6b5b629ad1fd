import QtQuick
import Tessel.UI

// The biggest files of the scan, wherever they are.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: actionBar.visible ? actionBar.height : 0
    readonly property LargeFilesModel files: session.largeFiles

    Text {
        id: heading
        x: 24
        y: 18
        width: parent.width - 48
        color: Style.theme.secondaryText
        font.pixelSize: Style.bodySize
        text: room.files.hasTree && room.files.rows.count > 0
              ? (room.files.rows.count === 1 ? "The largest file of " : "The " + Format.count(room.files.rows.count) + " largest files of ")
                + room.session.scan.sourceLabel + ", " + Format.bytes(room.files.listedBytes) + (room.files.rows.count === 1 ? "." : " together, wherever they are.")
              : ""
    }
    NodeTable {
        anchors.top: heading.bottom
        anchors.topMargin: 12
        anchors.bottom: actionBar.visible ? actionBar.top : parent.bottom
        x: 16
        width: parent.width - 32
        room: room.files
        removal: room.session.removal
        emptyText: room.files.hasTree
                   ? "No file here is large enough to be listed on its own: files under 1 MB count in their folders."
                   : "The largest files appear when the scan is done."
    }

    RowActionBar {
        id: actionBar
        anchors.bottom: parent.bottom
        width: parent.width
        visible: room.files.rows.count > 0
        rows: room.files
        removal: room.session.removal
    }
}
