import QtQuick
import Tessel.UI

// The panel's readings as a dashboard: one card of compact rows, each with
// what it is, its figure, and at the right its last ten minutes from the
// app's history (free space, which the history doesn't keep, as a bar of how
// full the disk is). Denser than the cards, and it shows where a figure has
// been, not only where it is.
Card {
    id: board
    required property TrayModel tray
    readonly property var c: tray.charts
    readonly property real chartWidth: Math.round(width * 0.38)
    padding: 12

    // The lines each reading's chart draws, with the value at the top; none for a reading the history lacks.
    function chartOf(key) {
        if (c.xs === undefined) return null
        if (key === "cpu") return { series: [c.cpuBusy], top: 1 }
        if (key === "memory") return { series: [c.memory], top: 1 }
        if (key === "network") return { series: [c.received, c.sent], top: c.networkPeak }
        if (key === "battery" && c.hasBattery) return { series: [c.battery], top: 1 }
        return null
    }

    Column {
        width: parent.width
        Item {
            width: parent.width
            height: span.implicitHeight + 4
            Text {
                id: span
                anchors.right: parent.right
                width: board.chartWidth
                text: board.tray.chartSpanWords
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize
                horizontalAlignment: Text.AlignHCenter
            }
        }
        Repeater {
            model: board.tray.readings
            delegate: Item {
                id: row
                required property var modelData
                required property int index
                readonly property var chart: board.chartOf(modelData.key)
                readonly property bool hasBar: modelData.share !== undefined
                width: parent.width
                height: Math.max(40, figures.implicitHeight + 12)

                Rectangle {
                    visible: row.index > 0
                    width: parent.width
                    height: 1
                    color: Style.theme.outline
                }
                Text {
                    id: title
                    width: 72
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.modelData.title
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.captionSize
                    elide: Text.ElideRight
                }
                Column {
                    id: figures
                    anchors.left: title.right
                    anchors.leftMargin: 8
                    anchors.right: row.chart || row.hasBar ? chart.left : parent.right
                    anchors.rightMargin: 10
                    anchors.verticalCenter: parent.verticalCenter
                    Text {
                        width: parent.width
                        text: row.modelData.figure
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                    Text {
                        width: parent.width
                        visible: text.length > 0
                        text: row.modelData.detail
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.captionSize
                        wrapMode: Text.Wrap
                        maximumLineCount: 2
                        elide: Text.ElideRight
                    }
                }
                HistoryChart {
                    id: chart
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    width: board.chartWidth
                    height: 28
                    visible: row.chart !== null
                    xs: board.c.xs || []
                    series: row.chart ? row.chart.series : []
                    colors: [Style.theme.accent, Style.theme.warning]
                    maximum: row.chart ? row.chart.top : 1
                    startLabel: ""
                    endLabel: ""
                }
                ShareBar {
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    width: board.chartWidth
                    visible: row.hasBar
                    share: row.hasBar ? row.modelData.share : 0
                }
            }
        }
    }
}
