import QtQuick
import Tessel.UI

// The panel's readings as cards, one a reading: what it is, its figure large,
// and under it what the figure leaves out. Free space comes first, across the
// panel, with a bar of how full the disk is; the others go two abreast, each
// as tall as the one beside it, so the rows line up.
Column {
    id: cards
    required property TrayModel tray
    readonly property var wide: tray.readings.filter(reading => reading.key === "freeSpace")
    readonly property var narrow: tray.readings.filter(reading => reading.key !== "freeSpace")
    spacing: 8

    component ReadingCard: Card {
        id: card
        required property var reading
        padding: 12
        Column {
            width: parent.width
            spacing: 3
            Text {
                width: parent.width
                text: card.reading.title
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize
                elide: Text.ElideRight
            }
            Text {
                width: parent.width
                text: card.reading.figure
                color: Style.theme.text
                font.pixelSize: Style.titleSize
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Text {
                width: parent.width
                visible: text.length > 0
                text: card.reading.detail
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize
                wrapMode: Text.Wrap
                maximumLineCount: 2
                elide: Text.ElideRight
            }
            Item {
                width: parent.width
                height: 10
                visible: card.reading.share !== undefined
                ShareBar {
                    anchors.bottom: parent.bottom
                    width: parent.width
                    share: card.reading.share === undefined ? 0 : card.reading.share
                }
            }
        }
    }

    Repeater {
        model: cards.wide
        delegate: ReadingCard {
            required property var modelData
            reading: modelData
            width: cards.width
        }
    }
    Grid {
        id: grid
        columns: 2
        spacing: 8
        width: parent.width
        Repeater {
            id: tiles
            model: cards.narrow
            delegate: ReadingCard {
                required property var modelData
                required property int index
                // The card beside this one, whose height this one matches.
                readonly property Item partner: tiles.count > 0 ? tiles.itemAt(index ^ 1) : null
                reading: modelData
                width: (grid.width - grid.spacing) / 2
                height: Math.max(implicitHeight, partner ? partner.implicitHeight : 0)
            }
        }
    }
}
