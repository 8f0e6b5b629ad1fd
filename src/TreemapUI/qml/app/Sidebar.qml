import QtQuick
import QtQuick.Controls
import Tessel.UI

// The rooms, in their sections, and the disk at a glance underneath.
Rectangle {
    id: sidebar
    required property ShellModel shell
    required property OverviewModel overview
    property bool translucent: false
    // For the tour's spotlight.
    property Item spaceMapItem: null
    property Item cleanUpItem: null
    readonly property alias diskCard: diskCard

    color: translucent ? Qt.rgba(Style.theme.sidebar.r, Style.theme.sidebar.g, Style.theme.sidebar.b, 0.82)
                       : Style.theme.sidebar

    Rectangle {
        anchors.right: parent.right
        width: 1
        height: parent.height
        color: Style.theme.outline
    }

    Row {
        id: brand
        x: 18
        y: 18
        spacing: 10
        Grid {
            columns: 2
            spacing: 2
            anchors.verticalCenter: parent.verticalCenter
            Repeater {
                model: 4
                Rectangle {
                    required property int index
                    width: 9
                    height: 9
                    radius: 2
                    color: Style.theme.palette[index]
                }
            }
        }
        Text {
            text: "Tessel"
            color: Style.theme.text
            font.pixelSize: 17
            font.weight: Font.DemiBold
        }
    }

    Flickable {
        id: list
        anchors.top: brand.bottom
        anchors.topMargin: 14
        anchors.bottom: diskCard.top
        anchors.bottomMargin: 10
        width: parent.width
        contentHeight: sections.implicitHeight
        clip: true
        boundsBehavior: Flickable.StopAtBounds

        Column {
            id: sections
            width: list.width
            spacing: 10
            Repeater {
                model: sidebar.shell.sections
                Column {
                    id: section
                    required property var modelData
                    width: sections.width
                    spacing: 1
                    Text {
                        id: heading
                        visible: section.modelData.title.length > 0
                        text: section.modelData.title
                        x: 20
                        height: 22
                        verticalAlignment: Text.AlignVCenter
                        color: Style.theme.secondaryText
                        font.pixelSize: Style.captionSize
                        font.weight: Font.DemiBold
                        font.capitalization: Font.AllUppercase
                        font.letterSpacing: 0.6
                        Component.onCompleted: if (section.modelData.title === "Clean Up") sidebar.cleanUpItem = section
                    }
                    Repeater {
                        model: section.modelData.items
                        AbstractButton {
                            id: entry
                            required property var modelData
                            readonly property bool current: sidebar.shell.room === modelData.room
                            x: 10
                            width: section.width - 20
                            height: 28
                            hoverEnabled: true
                            Accessible.name: modelData.title
                            onClicked: sidebar.shell.room = modelData.room
                            Component.onCompleted: if (modelData.room === "map") sidebar.spaceMapItem = entry
                            background: Rectangle {
                                radius: Style.smallRadius
                                color: entry.current ? Style.theme.highlight
                                     : entry.hovered ? Style.mix(Style.theme.sidebar, Style.theme.text, 0.06) : "transparent"
                            }
                            contentItem: Row {
                                spacing: 10
                                leftPadding: 10
                                Icon {
                                    symbol: entry.modelData.symbol
                                    size: 16
                                    color: entry.current ? Style.theme.accent : Style.theme.secondaryText
                                    anchors.verticalCenter: parent.verticalCenter
                                }
                                Text {
                                    text: entry.modelData.title
                                    color: entry.current ? Style.theme.accent : Style.theme.text
                                    font.pixelSize: Style.bodySize
                                    font.weight: entry.current ? Font.DemiBold : Font.Normal
                                    anchors.verticalCenter: parent.verticalCenter
                                }
                            }
                        }
                    }
                }
            }
        }
    }

    // The disk that holds the scan: how full it is, in one bar.
    Rectangle {
        id: diskCard
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 12
        height: 74
        radius: Style.radius
        color: Style.mix(Style.theme.sidebar, Style.theme.surface, 0.6)
        border.width: 1
        border.color: Style.theme.outline
        // Shares of what is used and what the system keeps; the warning colours judge what the user can still write.
        readonly property real usedShare: sidebar.overview.diskTotal > 0 ? sidebar.overview.diskUsed / sidebar.overview.diskTotal : 0
        readonly property real reservedShare: sidebar.overview.diskTotal > 0 ? sidebar.overview.diskReserved / sidebar.overview.diskTotal : 0
        readonly property real takenShare: sidebar.overview.diskTotal > 0
            ? 1 - sidebar.overview.diskAvailable / sidebar.overview.diskTotal : 0

        Column {
            anchors.fill: parent
            anchors.margins: 12
            spacing: 7
            Row {
                spacing: 7
                Icon { symbol: "internaldrive"; size: 14; color: Style.theme.secondaryText }
                Text {
                    text: sidebar.overview.diskName
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize - 1
                    font.weight: Font.Medium
                    elide: Text.ElideRight
                    width: diskCard.width - 50
                }
            }
            Rectangle {
                width: parent.width
                height: 6
                radius: 3
                color: Style.theme.outline
                clip: true
                Row {
                    anchors.fill: parent
                    Rectangle {
                        width: parent.width * diskCard.usedShare
                        height: parent.height
                        color: diskCard.takenShare > 0.9 ? Style.theme.danger
                             : diskCard.takenShare > 0.8 ? Style.theme.warning : Style.theme.accent
                    }
                    Rectangle {
                        width: parent.width * diskCard.reservedShare
                        height: parent.height
                        color: Style.mix(Style.theme.outline, Style.theme.secondaryText, 0.45)
                    }
                }
            }
            Text {
                text: sidebar.overview.diskTotal > 0 ? sidebar.overview.diskLine : "Reading the disk…"
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize
                width: parent.width
                elide: Text.ElideRight
            }
        }
    }
}
