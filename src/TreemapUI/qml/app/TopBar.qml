import QtQuick
import QtQuick.Controls
import Tessel.UI

// The room's title, what to scan, and the Scan button.
Item {
    id: bar
    required property ShellModel shell
    required property ScanCoordinator scan
    readonly property alias scanButton: scanButton
    readonly property alias optimizeButton: optimizeButton
    readonly property alias sourceButton: sourceButton

    implicitHeight: Style.topBarHeight

    Text {
        anchors.left: parent.left
        anchors.leftMargin: 24
        anchors.verticalCenter: parent.verticalCenter
        text: bar.shell.roomTitle
        color: Style.theme.text
        font.pixelSize: Style.titleSize
        font.weight: Font.DemiBold
    }

    Row {
        anchors.right: parent.right
        anchors.rightMargin: 20
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8

        ActionButton {
            id: sourceButton
            symbol: bar.scan.source === "/" ? "internaldrive" : "folder"
            text: bar.scan.sourceLabel + "  ▾"
            help: "Choose what to map: the whole disk, your home folder, another drive or any folder."
            onClicked: sourceMenu.popup(sourceButton, 0, sourceButton.height + 4)

            Menu {
                id: sourceMenu
                Repeater {
                    model: bar.scan.volumes
                    MenuItem {
                        required property var modelData
                        text: modelData.name
                        onTriggered: bar.scan.scan(modelData.path)
                    }
                }
                MenuSeparator {}
                MenuItem {
                    text: "Home Folder"
                    onTriggered: bar.scan.scan(bar.scan.homeFolder)
                }
                Repeater {
                    model: bar.scan.suggestedFolders
                    MenuItem {
                        required property string modelData
                        text: modelData.substring(modelData.lastIndexOf("/") + 1)
                        onTriggered: bar.scan.scan(modelData)
                    }
                }
                MenuSeparator {}
                MenuItem {
                    text: "Choose Folder…"
                    onTriggered: bar.scan.chooseFolder()
                }
            }
        }
        ActionButton {
            id: optimizeButton
            symbol: "wand.and.stars"
            text: "Optimize"
            enabled: false
            help: "Optimize moves safe junk to the Trash in one press once the junk finder is here."
        }
        ActionButton {
            id: scanButton
            prominent: true
            symbol: bar.scan.isScanning ? "arrow.clockwise" : "sparkle.magnifyingglass"
            text: bar.scan.isScanning ? "Scan Again" : "Scan"
            help: bar.scan.isScanning ? "Start this scan over." : "Map where the space on " + bar.scan.sourceLabel + " goes."
            onClicked: bar.scan.start()
        }
    }

    // Progress of the scan, along the bar's lower edge.
    Rectangle {
        id: track
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Style.theme.outline
    }
    Rectangle {
        id: progress
        anchors.bottom: parent.bottom
        height: 2
        visible: bar.scan.isScanning
        color: Style.theme.accent
        width: bar.scan.fraction !== undefined && bar.scan.fraction !== null ? parent.width * bar.scan.fraction : parent.width * 0.25
        x: bar.scan.fraction !== undefined && bar.scan.fraction !== null ? 0 : sweep.position * (parent.width * 0.75)
        Behavior on width { NumberAnimation { duration: 240 } }
        // Without a size to go by, the bar steps along with each report of
        // progress, a few times a second: a bar animated at every frame would
        // take a processor the scan needs, and moving only when work was done
        // says more.
        QtObject {
            id: sweep
            property real position: 0
            property real step: 0.08
        }
        Connections {
            target: bar.scan
            function onPhaseChanged() {
                if (!progress.visible || (bar.scan.fraction !== undefined && bar.scan.fraction !== null)) return
                let next = sweep.position + sweep.step
                if (next > 1 || next < 0) {
                    sweep.step = -sweep.step
                    next = sweep.position + sweep.step
                }
                sweep.position = next
            }
        }
    }
}
