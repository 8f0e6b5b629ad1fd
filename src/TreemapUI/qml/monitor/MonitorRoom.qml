import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Tessel.UI

// The machine as it runs: processor, memory, network, disks, battery,
// temperatures and fans, each with what it shows now and, where the history
// keeps it, the last hour. The monitor reads only while this room is shown.
Flickable {
    id: room
    objectName: "monitorRoom"
    required property AppSession session
    readonly property MonitorModel monitor: session.monitor
    readonly property var f: monitor.figures
    readonly property var c: monitor.charts
    readonly property var d: monitor.diskDays
    readonly property real cardWidth: (page.width - 20) / 2
    readonly property color firstLine: Style.theme.accent
    readonly property color secondLine: Style.theme.warning

    contentHeight: page.implicitHeight + 48
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar {}

    // Read only while somebody can see the room: not behind a minimised or hidden window.
    readonly property bool onScreen: Window.window !== null && Window.window.visible
                                     && Window.window.visibility !== Window.Minimized
    onOnScreenChanged: onScreen ? monitor.appear() : monitor.disappear()
    Component.onCompleted: if (onScreen) monitor.appear()
    Component.onDestruction: monitor.disappear()

    Column {
        id: page
        x: 24
        y: 24
        width: room.width - 48
        spacing: 20

        Text {
            width: parent.width
            text: room.f.processorName + "  \u00B7  up " + room.f.uptimeText
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
            elide: Text.ElideRight
        }

        // Two columns of cards, each as tall as it needs: processor, network
        // and battery on the left; memory, disk and the sensors on the right.
        Row {
            width: parent.width
            spacing: 20
            Column {
                width: room.cardWidth
                spacing: 20

                MonitorCard {
                    width: parent.width
                    title: "Processor"
                    symbol: "gauge"
                    figure: room.f.cpuText
                    detail: room.f.cpuDetail
                    HistoryChart {
                        width: parent.width
                        xs: room.c.xs
                        series: [room.c.cpuBusy, room.c.cpuSystem]
                        colors: [room.firstLine, room.secondLine]
                        maximum: 1
                        topLabel: "100%"
                    }
                    Flow {
                        width: parent.width
                        spacing: 6
                        Repeater {
                            model: room.f.cores
                            delegate: Column {
                                required property var modelData
                                width: 58
                                spacing: 3
                                Rectangle {
                                    width: parent.width
                                    height: 6
                                    radius: 3
                                    color: Style.theme.outline
                                    Rectangle {
                                        width: parent.width * (modelData.busy === undefined ? 0 : Math.min(1, modelData.busy))
                                        height: parent.height
                                        radius: 3
                                        color: room.firstLine
                                    }
                                }
                                Text {
                                    text: modelData.name.replace("Core ", "") + ": " + modelData.text
                                    color: Style.theme.secondaryText
                                    font.pixelSize: Style.captionSize
                                }
                            }
                        }
                    }
                    FigureRow { label: "Load over 1, 5 and 15 minutes"; value: room.f.loadText }
                }

                MonitorCard {
                    width: parent.width
                    title: "Network"
                    symbol: "arrow.down.circle.fill"
                    figure: room.f.receivedText
                    detail: room.f.linkText
                    HistoryChart {
                        width: parent.width
                        xs: room.c.xs
                        series: [room.c.received, room.c.sent]
                        colors: [room.firstLine, room.secondLine]
                        maximum: room.c.networkPeak
                        topLabel: room.c.networkPeak > 0 ? room.c.networkPeakText : ""
                    }
                    FigureRow { label: "Receiving"; value: room.f.receivedText; swatch: room.firstLine }
                    FigureRow { label: "Sending"; value: room.f.sentText; swatch: room.secondLine }
                    FigureRow { label: "Interface"; value: room.f.interfaceText }
                    FigureRow { label: "Address"; value: room.f.addressText }
                    Text {
                        width: parent.width
                        text: room.f.totalsText
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.captionSize
                        wrapMode: Text.Wrap
                    }
                }

                MonitorCard {
                    width: parent.width
                    title: "Battery"
                    symbol: "power"
                    figure: room.f.batteryText
                    detail: room.f.batteryState
                    HistoryChart {
                        width: parent.width
                        visible: room.f.hasBattery
                        xs: room.c.xs
                        series: [room.c.battery]
                        colors: [Style.theme.success]
                        maximum: 1
                        topLabel: "100%"
                    }
                    ShareBar {
                        width: parent.width
                        height: 8
                        visible: room.f.hasBattery
                        share: room.f.batteryShare === undefined ? 0 : room.f.batteryShare
                        fill: room.f.batteryShare !== undefined && room.f.batteryShare < 0.2 ? Style.theme.warning : Style.theme.success
                    }
                    Text {
                        width: parent.width
                        visible: text.length > 0
                        text: room.f.batteryWear
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                        wrapMode: Text.Wrap
                    }
                }
            }
            Column {
                width: room.cardWidth
                spacing: 20
                MonitorCard {
                    width: parent.width
                    title: "Memory"
                    symbol: "square.grid.2x2"
                    figure: room.f.memoryText
                    detail: room.f.memoryOf
                    HistoryChart {
                        width: parent.width
                        xs: room.c.xs
                        series: [room.c.memory]
                        colors: [room.firstLine]
                        maximum: 1
                        topLabel: "100%"
                    }
                    Repeater {
                        model: room.f.memoryParts
                        delegate: FigureRow {
                            required property var modelData
                            label: modelData.title
                            value: modelData.text
                        }
                    }
                    FigureRow { label: "Pressure"; value: room.f.pressureWord }
                    Text {
                        width: parent.width
                        visible: text.length > 0
                        text: room.f.pressureNote
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.captionSize
                        wrapMode: Text.Wrap
                    }
                    FigureRow { label: "Swap"; value: room.f.swapText }
                }

                MonitorCard {
                    objectName: "diskCard"
                    width: parent.width
                    title: "Disk"
                    symbol: "internaldrive"
                    figure: room.f.readText
                    detail: "Read and written by the disks"
                    HistoryChart {
                        width: parent.width
                        xs: room.c.xs
                        series: [room.c.read, room.c.write]
                        colors: [room.firstLine, room.secondLine]
                        maximum: room.c.diskPeak
                        topLabel: room.c.diskPeak > 0 ? room.c.diskPeakText : ""
                    }
                    FigureRow { label: "Reading"; value: room.f.readText; swatch: room.firstLine }
                    FigureRow { label: "Writing"; value: room.f.writeText; swatch: room.secondLine }
                    FigureRow { label: room.f.volumeName.length > 0 ? room.f.volumeName : "Startup disk"; value: room.f.volumeText }
                    ShareBar {
                        width: parent.width
                        height: 8
                        visible: room.f.volumeUsedShare !== undefined
                        share: room.f.volumeUsedShare === undefined ? 0 : room.f.volumeUsedShare
                        fill: room.firstLine
                    }
                    // The used space a day at a time, against the disk's size.
                    Text {
                        text: "Used space, day by day"
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.captionSize
                        font.weight: Font.DemiBold
                    }
                    HistoryChart {
                        width: parent.width
                        implicitHeight: 80
                        visible: room.d.count >= 2
                        xs: room.d.xs
                        series: [room.d.used]
                        colors: [room.firstLine]
                        maximum: 1
                        marksPoints: true
                        topLabel: room.d.topText
                        startLabel: room.d.firstLabel
                        endLabel: room.d.lastLabel
                    }
                    Text {
                        width: parent.width
                        visible: text.length > 0
                        text: room.d.note
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                        wrapMode: Text.Wrap
                    }
                }

                MonitorCard {
                    width: parent.width
                    title: "Temperatures and fans"
                    symbol: "waveform.path.ecg"
                    figure: room.f.temperatures.length > 0 ? room.f.temperatures[0].text : "\u2014"
                    detail: room.f.temperatureNote
                    HistoryChart {
                        width: parent.width
                        visible: room.c.hasChip === true
                        xs: room.c.xs
                        series: [room.c.chip]
                        colors: [Style.theme.warning]
                        maximum: room.c.chipTop
                        topLabel: Math.round(room.c.chipTop) + "\u00B0C"
                    }
                    Repeater {
                        model: room.f.temperatures
                        delegate: FigureRow {
                            required property var modelData
                            label: modelData.place
                            value: modelData.text
                        }
                    }
                    Repeater {
                        model: room.f.fans
                        delegate: FigureRow {
                            required property var modelData
                            label: modelData.name
                            value: modelData.text
                        }
                    }
                    Text {
                        width: parent.width
                        visible: text.length > 0
                        text: room.f.fanNote
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                        wrapMode: Text.Wrap
                    }
                }
            }
        }

        // The user's programs, app by app, the full width of the room below the cards.
        MonitorCard {
            width: parent.width
            title: "Apps and processes"
            symbol: "app"
            figure: ""
            // The window sentence only where the desktop can't tell, in the table's words.
            detail: "Processor over the last two seconds, 100% being one core; memory with shared pages split between the programs that share them."
                    + (processTable.processes.windowsUnknown.length > 0 ? " " + processTable.processes.windowsUnknown : "")
            ProcessTable {
                id: processTable
                width: parent.width
                height: fullHeight
                shown: room.onScreen && room.visible
            }
        }
    }
}
