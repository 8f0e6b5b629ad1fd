import QtQuick
import QtQuick.Controls
import Tessel.UI

// The disk of the scan and what fills it, how the machine is doing, the last
// scan in a sentence, and every tool with what it does.
Flickable {
    id: room
    required property AppSession session
    required property ShellModel shell
    readonly property OverviewModel overview: session.overview
    readonly property ScanCoordinator scan: session.scan
    // What a tool found when it last looked, by the tool's key, kept across launches.
    readonly property var figures: ({ junk: session.tools.junk.lastFound })

    contentHeight: page.implicitHeight + 48
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar {}

    Column {
        id: page
        x: 24
        y: 24
        width: room.width - 48
        spacing: 20

        Card {
            width: parent.width
            Column {
                width: parent.width
                spacing: 16
                Item {
                    width: parent.width
                    height: Math.max(heading.implicitHeight, health.implicitHeight)
                    Column {
                        id: heading
                        spacing: 4
                        Text {
                            text: room.overview.hasVolume ? room.overview.volumeName : room.scan.sourceLabel
                            color: Style.theme.text
                            font.pixelSize: Style.headingSize + 3
                            font.weight: Font.DemiBold
                        }
                        Text {
                            text: room.overview.hasVolume ? room.overview.volumeLine
                                  : room.scan.isScanning ? "Measuring what this disk holds…" : "Scan to see what this disk holds."
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.bodySize
                        }
                    }
                    Rectangle {
                        id: health
                        anchors.right: parent.right
                        implicitWidth: healthRow.implicitWidth + 24
                        implicitHeight: 30
                        radius: 15
                        readonly property color tone: room.overview.healthLevel === "poor" ? Style.theme.danger
                                                    : room.overview.healthLevel === "fair" ? Style.theme.warning : Style.theme.success
                        color: Qt.rgba(tone.r, tone.g, tone.b, 0.13)
                        HoverHandler { id: healthHover }
                        ToolTip.visible: healthHover.hovered && room.overview.healthReason.length > 0
                        ToolTip.text: room.overview.healthReason
                        Row {
                            id: healthRow
                            anchors.centerIn: parent
                            spacing: 7
                            Rectangle {
                                width: 8
                                height: 8
                                radius: 4
                                color: health.tone
                                anchors.verticalCenter: parent.verticalCenter
                            }
                            Text {
                                text: room.overview.healthWord
                                color: Style.theme.text
                                font.pixelSize: Style.bodySize
                                font.weight: Font.Medium
                                anchors.verticalCenter: parent.verticalCenter
                            }
                        }
                    }
                }
                StorageBar {
                    width: parent.width
                    visible: room.overview.parts.length > 0
                    parts: room.overview.parts
                    total: room.overview.volumeTotal
                    available: room.overview.volumeAvailable
                    reserved: room.overview.reservedPart
                }
                Text {
                    visible: room.overview.partsFromLastScan
                    text: room.scan.isScanning ? "As the last scan found it, until this one ends."
                                               : "As the last scan found it."
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.captionSize + 1
                }
                Text {
                    visible: room.overview.healthReason.length > 0
                    width: parent.width
                    text: room.overview.healthReason
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.bodySize
                    wrapMode: Text.Wrap
                }
            }
        }

        Card {
            width: parent.width
            padding: 16
            Row {
                width: parent.width
                spacing: 12
                Icon {
                    symbol: room.scan.isScanning ? "arrow.clockwise" : "clock"
                    size: 18
                    color: Style.theme.secondaryText
                    anchors.verticalCenter: parent.verticalCenter
                }
                Text {
                    width: parent.width - 30
                    anchors.verticalCenter: parent.verticalCenter
                    wrapMode: Text.Wrap
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize
                    text: room.scan.isScanning
                          ? "Scanning " + room.scan.sourceLabel + ": " + Format.count(room.scan.progressFolders) + " folders and "
                            + Format.count(room.scan.progressFiles) + " files so far, " + Format.bytes(room.scan.progressBytes) + "."
                          : room.overview.summaryLine.length > 0 ? room.overview.summaryLine
                          : "Nothing scanned yet. Press Scan to map " + room.scan.sourceLabel + "."
                }
            }
        }

        Text {
            text: "Tools"
            color: Style.theme.text
            font.pixelSize: Style.headingSize
            font.weight: Font.DemiBold
        }

        Grid {
            id: tools
            width: parent.width
            columns: width > 900 ? 3 : 2
            columnSpacing: 14
            rowSpacing: 14
            Repeater {
                model: room.overview.tools
                AbstractButton {
                    id: tool
                    required property var modelData
                    width: (tools.width - tools.columnSpacing * (tools.columns - 1)) / tools.columns
                    height: Math.max(108, toolText.implicitHeight + 62)
                    hoverEnabled: true
                    Accessible.name: modelData.title
                    onClicked: room.shell.room = modelData.room
                    background: Rectangle {
                        radius: Style.radius + 2
                        color: tool.hovered ? Style.mix(Style.theme.surface, Style.theme.accent, 0.05) : Style.theme.surface
                        border.width: 1
                        border.color: tool.hovered ? Style.mix(Style.theme.outline, Style.theme.accent, 0.5) : Style.theme.outline
                    }
                    contentItem: Item {
                        Rectangle {
                            id: badge
                            x: 16
                            y: 16
                            width: 32
                            height: 32
                            radius: 8
                            readonly property color tone: Style.theme.colorForName(tool.modelData.key)
                            color: Qt.rgba(tone.r, tone.g, tone.b, 0.16)
                            Icon {
                                anchors.centerIn: parent
                                symbol: tool.modelData.symbol
                                size: 18
                                color: badge.tone
                            }
                        }
                        Text {
                            id: toolFigure
                            anchors.right: parent.right
                            anchors.rightMargin: 16
                            anchors.verticalCenter: badge.verticalCenter
                            text: room.figures[tool.modelData.key] || ""
                            color: badge.tone
                            font.pixelSize: Style.bodySize
                            font.weight: Font.DemiBold
                        }
                        Text {
                            anchors.left: badge.right
                            anchors.leftMargin: 12
                            anchors.right: toolFigure.left
                            anchors.rightMargin: 8
                            anchors.verticalCenter: badge.verticalCenter
                            elide: Text.ElideRight
                            text: tool.modelData.title
                            color: Style.theme.text
                            font.pixelSize: Style.bodySize + 1
                            font.weight: Font.DemiBold
                        }
                        Text {
                            id: toolText
                            x: 16
                            anchors.top: badge.bottom
                            anchors.topMargin: 10
                            width: tool.width - 32
                            text: tool.modelData.line
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.bodySize - 1
                            wrapMode: Text.Wrap
                            lineHeight: 1.15
                        }
                    }
                }
            }
        }
    }
}
