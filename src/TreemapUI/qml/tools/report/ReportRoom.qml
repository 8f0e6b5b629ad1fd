import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import Tessel.UI

// The report: what changed since an earlier scan of this place, and this
// scan summed up, to keep as a spreadsheet or a web page or to paste.
Item {
    id: room
    required property AppSession session
    readonly property ToolModels tools: session.tools
    readonly property ChangesModel changes: session.tools.changes
    readonly property ReportView report: session.tools.report
    readonly property real actionBarHeight: room.tools.reportTab === "changes" && room.changes.changes.length > 0 ? 52 : 0

    Segmented {
        id: tabs
        x: 24
        y: 18
        options: [["changes", "Changes Over Time"], ["summary", "Summary & Export"]]
        value: room.tools.reportTab
        onPicked: value => room.tools.reportTab = value
    }

    Loader {
        anchors.top: tabs.bottom
        anchors.topMargin: 16
        anchors.bottom: parent.bottom
        width: parent.width
        sourceComponent: room.tools.reportTab === "summary" ? summaryTab : changesTab
    }

    Component {
        id: changesTab
        Item {
            Item {
                id: header
                x: 24
                width: parent.width - 48
                height: Math.max(intro.implicitHeight, controls.implicitHeight)
                Column {
                    id: intro
                    width: parent.width - controls.width - 16
                    spacing: 3
                    Text {
                        width: parent.width
                        wrapMode: Text.Wrap
                        text: room.changes.ruleText
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize + 1
                        font.weight: Font.Medium
                    }
                    Text {
                        width: parent.width
                        wrapMode: Text.Wrap
                        visible: text.length > 0
                        text: room.changes.baselineText
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.bodySize
                    }
                }
                Row {
                    id: controls
                    anchors.right: parent.right
                    spacing: 8
                    ComboBox {
                        id: baselinePicker
                        visible: room.changes.snapshots.length > 0
                        width: 300
                        height: 32
                        model: room.changes.snapshots
                        textRole: "date"
                        currentIndex: room.changes.baselineIndex
                        displayText: currentIndex >= 0 ? "Compare with " + currentText : "Compare with…"
                        onActivated: index => room.changes.compareWith(index)
                        delegate: ItemDelegate {
                            required property var modelData
                            required property int index
                            width: baselinePicker.width
                            text: modelData.date + "  ·  " + modelData.size
                            highlighted: baselinePicker.highlightedIndex === index
                        }
                    }
                    ActionButton {
                        text: "Save Snapshot"
                        symbol: "clock"
                        help: "Keep this scan as a point to compare against later"
                        enabled: room.changes.hasTree && !room.changes.isLoading
                        onClicked: room.changes.saveNow()
                    }
                }
            }

            Text {
                id: saveProblem
                anchors.top: header.bottom
                anchors.topMargin: visible ? 8 : 0
                x: 24
                width: parent.width - 48
                visible: room.changes.saveError.length > 0
                height: visible ? implicitHeight : 0
                wrapMode: Text.Wrap
                text: room.changes.saveError
                color: Style.theme.warning
                font.pixelSize: Style.bodySize
            }

            Column {
                id: emptyState
                readonly property bool hasError: room.changes.lastError.length > 0
                readonly property bool waiting: room.changes.isLoading || room.changes.isComparing
                readonly property bool nothingEarlier: room.changes.hasTree && !waiting && room.changes.baselineIndex < 0
                                                      && !hasError
                readonly property bool nothingChanged: room.changes.hasTree && !waiting && !hasError
                                                       && room.changes.baselineIndex >= 0 && room.changes.changes.length === 0
                visible: !room.changes.hasTree || hasError || nothingEarlier || nothingChanged
                anchors.centerIn: parent
                width: Math.min(parent.width - 80, 440)
                spacing: 8
                Icon {
                    anchors.horizontalCenter: parent.horizontalCenter
                    symbol: emptyState.hasError ? "exclamationmark.triangle.fill" : "clock"
                    size: 30
                    color: emptyState.hasError ? Style.theme.warning : Style.theme.secondaryText
                }
                Text {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.Wrap
                    text: !room.changes.hasTree ? "Changes appear when the scan is done."
                          : emptyState.hasError ? "Could not compare"
                          : emptyState.nothingEarlier ? room.changes.nothingEarlierText
                          : room.changes.nothingChangedText
                    color: Style.theme.text
                    font.pixelSize: Style.headingSize
                    font.weight: Font.DemiBold
                }
                Text {
                    width: parent.width
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.Wrap
                    visible: text.length > 0
                    text: emptyState.hasError ? room.changes.lastError
                          : emptyState.nothingEarlier ? "Each scan of this folder is kept as a snapshot. Scan it again another day, and what grew since shows here."
                          : emptyState.nothingChanged ? "Since that scan, nothing here grew or shrank by as much."
                          : ""
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.bodySize + 1
                }
            }
            BusyIndicator {
                anchors.centerIn: parent
                running: room.changes.isLoading || room.changes.isComparing
                visible: running
            }

            RowMenu {
                id: rowMenu
                rows: room.changes
                removal: room.session.removal
            }

            ListView {
                id: list
                anchors.top: saveProblem.bottom
                anchors.topMargin: 14
                anchors.bottom: changesBar.visible ? changesBar.top : parent.bottom
                x: 16
                width: parent.width - 32
                clip: true
                visible: !room.changes.isComparing && room.changes.lastError.length === 0
                model: room.changes.changes
                ScrollBar.vertical: ScrollBar {}
                delegate: Rectangle {
                    id: row
                    required property var modelData
                    required property int index
                    readonly property bool larger: modelData.kind === "grew" || modelData.kind === "appeared"
                    // Read with the selection's revision, so the mark follows every click.
                    readonly property bool chosen: room.changes.selectionRevision >= 0 && room.changes.isChosen(index)
                    width: list.width
                    height: 52
                    radius: Style.smallRadius
                    color: row.chosen ? Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.16)
                         : index % 2 === 1 ? Style.mix(Style.theme.surface, Style.theme.text, 0.025) : "transparent"
                    // Only what still stands can be chosen; what is gone is a record.
                    MouseArea {
                        anchors.fill: parent
                        enabled: row.modelData.present
                        acceptedButtons: Qt.LeftButton | Qt.RightButton
                        onClicked: function(mouse) {
                            if (mouse.button === Qt.RightButton) {
                                room.changes.pointAt(row.index)
                                rowMenu.popup()
                            } else {
                                room.changes.choose(row.index, mouse.modifiers)
                            }
                        }
                        onDoubleClicked: function(mouse) {
                            if (mouse.button !== Qt.LeftButton) return
                            room.changes.choose(row.index, Qt.NoModifier)
                            room.changes.openChosen()
                        }
                    }
                    Icon {
                        id: kindIcon
                        x: 10
                        anchors.verticalCenter: parent.verticalCenter
                        symbol: row.modelData.kind === "appeared" ? "plus"
                                : row.modelData.kind === "disappeared" ? "minus" : "folder"
                        size: 18
                        color: row.larger ? Style.theme.warning : Style.theme.success
                    }
                    Column {
                        anchors.left: kindIcon.right
                        anchors.leftMargin: 12
                        anchors.right: figures.left
                        anchors.rightMargin: 12
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 2
                        Text {
                            width: parent.width
                            elide: Text.ElideMiddle
                            text: row.modelData.name
                            color: Style.theme.text
                            font.pixelSize: Style.bodySize + 1
                            font.weight: Font.Medium
                        }
                        Text {
                            width: parent.width
                            elide: Text.ElideMiddle
                            text: row.modelData.path
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.captionSize + 1
                        }
                    }
                    Column {
                        id: figures
                        anchors.right: parent.right
                        anchors.rightMargin: 12
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 2
                        Row {
                            anchors.right: parent.right
                            spacing: 8
                            Rectangle {
                                anchors.verticalCenter: parent.verticalCenter
                                width: tag.implicitWidth + 14
                                height: 20
                                radius: 10
                                color: Style.mix(Style.theme.background, Style.theme.text, 0.06)
                                Text {
                                    id: tag
                                    anchors.centerIn: parent
                                    text: row.modelData.title
                                    color: Style.theme.secondaryText
                                    font.pixelSize: Style.captionSize
                                    font.weight: Font.Medium
                                }
                            }
                            Text {
                                text: row.modelData.delta
                                color: row.larger ? Style.theme.warning : Style.theme.success
                                font.pixelSize: Style.bodySize + 1
                                font.weight: Font.DemiBold
                            }
                        }
                        Text {
                            anchors.right: parent.right
                            text: row.modelData.sizes
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.captionSize + 1
                        }
                    }
                }
            }

            RowActionBar {
                id: changesBar
                anchors.bottom: parent.bottom
                width: parent.width
                visible: list.visible && room.changes.changes.length > 0
                rows: room.changes
                removal: room.session.removal
                hint: "Click a row of what is still there to choose it; a right-click shows what it can do."
            }
        }
    }

    Component {
        id: summaryTab
        Flickable {
            contentHeight: page.implicitHeight + 40
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}

            Column {
                id: page
                x: 24
                width: parent.width - 48
                spacing: 18

                Text {
                    visible: !room.report.hasTree
                    text: "The summary appears when the scan is done."
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.bodySize + 1
                }

                Grid {
                    id: tiles
                    visible: room.report.hasTree
                    width: parent.width
                    columns: width > 720 ? 4 : 2
                    spacing: 12
                    Repeater {
                        model: room.report.tiles
                        Card {
                            required property var modelData
                            width: (tiles.width - tiles.spacing * (tiles.columns - 1)) / tiles.columns
                            padding: 16
                            Column {
                                width: parent.width
                                spacing: 4
                                Text {
                                    text: modelData.title
                                    color: Style.theme.secondaryText
                                    font.pixelSize: Style.captionSize + 1
                                    font.weight: Font.DemiBold
                                }
                                Text {
                                    width: parent.width
                                    elide: Text.ElideMiddle
                                    text: modelData.value
                                    color: Style.theme.text
                                    font.pixelSize: Style.titleSize
                                    font.weight: Font.DemiBold
                                }
                                Text {
                                    width: parent.width
                                    elide: Text.ElideRight
                                    text: modelData.caption
                                    color: Style.theme.secondaryText
                                    font.pixelSize: Style.captionSize + 1
                                }
                            }
                        }
                    }
                }

                Card {
                    visible: room.report.hasTree
                    width: parent.width
                    Column {
                        width: parent.width
                        spacing: 14
                        Text {
                            text: "Export"
                            color: Style.theme.text
                            font.pixelSize: Style.headingSize
                            font.weight: Font.DemiBold
                        }
                        Repeater {
                            model: room.report.exportChoices
                            Item {
                                required property var modelData
                                width: parent.width
                                height: Math.max(exportText.implicitHeight, exportButton.implicitHeight)
                                Icon {
                                    id: exportIcon
                                    symbol: modelData.symbol
                                    size: 20
                                    color: Style.theme.accent
                                    anchors.verticalCenter: parent.verticalCenter
                                }
                                Column {
                                    id: exportText
                                    anchors.left: exportIcon.right
                                    anchors.leftMargin: 12
                                    anchors.right: exportButton.left
                                    anchors.rightMargin: 16
                                    anchors.verticalCenter: parent.verticalCenter
                                    spacing: 2
                                    Text {
                                        text: modelData.title
                                        color: Style.theme.text
                                        font.pixelSize: Style.bodySize + 1
                                        font.weight: Font.Medium
                                    }
                                    Text {
                                        width: parent.width
                                        wrapMode: Text.Wrap
                                        text: modelData.detail
                                        color: Style.theme.secondaryText
                                        font.pixelSize: Style.bodySize
                                    }
                                }
                                ActionButton {
                                    id: exportButton
                                    anchors.right: parent.right
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: "Export…"
                                    enabled: !room.report.isExporting
                                    onClicked: saveDialog.ask(modelData.format)
                                }
                            }
                        }
                        // An export under way: what it writes, and how far it has read the scan.
                        Column {
                            width: parent.width
                            spacing: 6
                            visible: room.report.isExporting
                            Text {
                                text: room.report.exportingText
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.bodySize
                            }
                            ProgressBar {
                                width: parent.width
                                from: 0
                                to: 1
                                value: room.report.exportProgress
                            }
                        }
                        Text {
                            width: parent.width
                            wrapMode: Text.Wrap
                            visible: text.length > 0 && !room.report.isExporting
                            text: room.report.lastError.length > 0 ? room.report.lastError : room.report.lastSaved
                            color: room.report.lastError.length > 0 ? Style.theme.danger : Style.theme.success
                            font.pixelSize: Style.bodySize
                        }
                    }
                }

                Card {
                    visible: room.report.hasTree
                    width: parent.width
                    Column {
                        width: parent.width
                        spacing: 10
                        Item {
                            width: parent.width
                            height: copyButton.implicitHeight
                            Text {
                                text: "Summary"
                                color: Style.theme.text
                                font.pixelSize: Style.headingSize
                                font.weight: Font.DemiBold
                                anchors.verticalCenter: parent.verticalCenter
                            }
                            ActionButton {
                                id: copyButton
                                anchors.right: parent.right
                                text: "Copy"
                                symbol: "doc.on.doc"
                                help: "Copies these lines, to paste in a message or a note"
                                enabled: room.report.hasInventory
                                onClicked: room.report.copySummary()
                            }
                        }
                        Text {
                            width: parent.width
                            wrapMode: Text.Wrap
                            text: room.report.hasInventory ? room.report.summaryText() : ""
                            textFormat: Text.PlainText
                            color: Style.theme.text
                            font.family: "monospace"
                            font.pixelSize: Style.bodySize - 1
                            lineHeight: 1.15
                        }
                    }
                }
            }
        }
    }

    FileDialog {
        id: saveDialog
        property string format: "csv"
        function ask(chosen) {
            format = chosen
            const suggested = room.report.suggestedFile(chosen).toString()
            currentFolder = suggested.substring(0, suggested.lastIndexOf("/"))
            selectedFile = suggested
            open()
        }
        title: format === "html" ? "Save the Web Page" : "Save the Spreadsheet"
        fileMode: FileDialog.SaveFile
        nameFilters: format === "html" ? ["Web pages (*.html)"] : ["Spreadsheets (*.csv)"]
        onAccepted: room.report.exportTo(format, selectedFile)
    }
}
