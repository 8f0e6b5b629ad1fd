import QtQuick
import QtQuick.Controls
import Tessel.UI

// What the user's programs use, app by app: processor, memory, disk, and
// where the desktop says, their windows. The table samples while it is
// visible and stops when hidden; its headings sort by processor or by memory.
// A figure the machine did not give reads "—"; the windows' column is left
// out where the desktop can't tell.
Item {
    id: table
    property ProcessTableModel processes: ProcessTableModel {}
    readonly property int figureWidth: 96
    readonly property bool showsWindows: processes.windowsKnown
    readonly property int figures: showsWindows ? 5 : 4

    // Whether anybody can see the table; a room behind a minimised window says no.
    property bool shown: visible
    // The height that shows every row without scrolling inside the table.
    readonly property real fullHeight: headings.height + 1 + Math.max(rows.contentHeight, 120)

    function follow() {
        if (table.shown) table.processes.start()
        else table.processes.stop()
    }
    onShownChanged: follow()
    Component.onCompleted: follow()
    Component.onDestruction: table.processes.stop()

    Row {
        id: headings
        width: parent.width
        height: 30
        Repeater {
            model: [["", "Name", table.width - table.figures * table.figureWidth], ["", "Processes", table.figureWidth],
                    ["cpu", "CPU", table.figureWidth], ["memory", "Memory", table.figureWidth], ["", "Disk", table.figureWidth]]
                   .concat(table.showsWindows ? [["", "Windows", table.figureWidth]] : [])
            AbstractButton {
                id: heading
                required property var modelData
                required property int index
                readonly property bool sorts: modelData[0].length > 0
                readonly property bool sorted: sorts && table.processes.order === modelData[0]
                width: modelData[2]
                height: headings.height
                enabled: sorts
                onClicked: table.processes.order = modelData[0]
                contentItem: Row {
                    spacing: 4
                    layoutDirection: heading.index === 0 ? Qt.LeftToRight : Qt.RightToLeft
                    leftPadding: heading.index === 0 ? 40 : 0
                    rightPadding: heading.index === 0 ? 0 : 8
                    Icon {
                        visible: heading.sorted
                        symbol: "chevron.down"
                        size: 9
                        color: Style.theme.secondaryText
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Text {
                        text: heading.modelData[1]
                        color: heading.sorted ? Style.theme.text : Style.theme.secondaryText
                        font.pixelSize: Style.captionSize + 1
                        font.weight: Font.DemiBold
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }
            }
        }
    }
    Rectangle {
        anchors.top: headings.bottom
        width: parent.width
        height: 1
        color: Style.theme.outline
    }

    BusyIndicator {
        anchors.centerIn: parent
        running: table.processes.running && rows.count === 0
        visible: running
    }

    ListView {
        id: rows
        anchors.top: headings.bottom
        anchors.topMargin: 1
        anchors.bottom: parent.bottom
        width: parent.width
        clip: true
        model: table.processes.rows
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}
        delegate: Rectangle {
            id: entry
            required property string name
            required property string icon
            required property string processes
            required property string cpu
            required property string memory
            required property string disk
            required property string windows
            width: rows.width
            height: 40
            color: hover.hovered ? Style.mix(Style.theme.background, Style.theme.text, 0.04) : "transparent"
            HoverHandler { id: hover }
            AppIcon {
                x: 10
                y: 8
                size: 24
                source: entry.icon
            }
            Text {
                x: 40
                width: table.width - table.figures * table.figureWidth - 48
                anchors.verticalCenter: parent.verticalCenter
                text: entry.name
                color: Style.theme.text
                font.pixelSize: Style.bodySize
                font.weight: Font.Medium
                elide: Text.ElideRight
            }
            Row {
                x: table.width - table.figures * table.figureWidth
                anchors.verticalCenter: parent.verticalCenter
                Repeater {
                    model: [entry.processes, entry.cpu, entry.memory, entry.disk].concat(table.showsWindows ? [entry.windows] : [])
                    Text {
                        required property string modelData
                        width: table.figureWidth
                        rightPadding: 8
                        horizontalAlignment: Text.AlignRight
                        text: modelData
                        color: modelData === "—" ? Style.theme.secondaryText : Style.theme.text
                        font.pixelSize: Style.bodySize - 1
                    }
                }
            }
            Rectangle {
                anchors.bottom: parent.bottom
                x: 40
                width: parent.width - 40
                height: 1
                color: Style.theme.outline
                opacity: 0.6
            }
        }
    }
}
