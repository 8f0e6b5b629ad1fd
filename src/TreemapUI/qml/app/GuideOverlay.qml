import QtQuick
import QtQuick.Controls
import Tessel.UI

// The tour: the window dimmed except for the control a step speaks of, and a
// card beside it with the step's words.
Item {
    id: overlay
    required property GuideModel guide
    // Controls by target name: "scan", "optimize", "source", "spaceMap", "cleanUp", "disk".
    property var targets: ({})

    visible: guide.active
    readonly property Item target: guide.target.length > 0 && targets[guide.target] ? targets[guide.target] : null
    readonly property rect hole: {
        if (!target || !visible) return Qt.rect(width / 2, height / 2, 0, 0)
        const point = target.mapToItem(overlay, 0, 0)
        return Qt.rect(point.x - 6, point.y - 6, target.width + 12, target.height + 12)
    }

    // Swallows clicks, so the window behind waits until the tour is done.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.AllButtons
        onWheel: function(wheel) { wheel.accepted = true }
    }

    readonly property color dim: Qt.rgba(0, 0, 0, 0.45)
    Rectangle { x: 0; y: 0; width: parent.width; height: overlay.hole.y; color: overlay.dim }
    Rectangle { x: 0; y: overlay.hole.y + overlay.hole.height; width: parent.width; height: parent.height - y; color: overlay.dim }
    Rectangle { x: 0; y: overlay.hole.y; width: overlay.hole.x; height: overlay.hole.height; color: overlay.dim }
    Rectangle {
        x: overlay.hole.x + overlay.hole.width
        y: overlay.hole.y
        width: parent.width - x
        height: overlay.hole.height
        color: overlay.dim
    }
    Rectangle {
        visible: overlay.target !== null
        x: overlay.hole.x
        y: overlay.hole.y
        width: overlay.hole.width
        height: overlay.hole.height
        radius: 10
        color: "transparent"
        border.width: 2
        border.color: Style.theme.accent
    }

    Rectangle {
        id: card
        width: 380
        height: content.implicitHeight + 40
        radius: 14
        color: Style.theme.surface
        border.width: 1
        border.color: Style.theme.outline
        // Beside the spotlight where there is room, below it otherwise, centred without one.
        x: {
            if (!overlay.target) return (overlay.width - width) / 2
            const right = overlay.hole.x + overlay.hole.width + 16
            if (right + width < overlay.width - 16) return right
            return Math.max(16, Math.min(overlay.width - width - 16, overlay.hole.x + overlay.hole.width / 2 - width / 2))
        }
        y: {
            if (!overlay.target) return (overlay.height - height) / 2
            const right = overlay.hole.x + overlay.hole.width + 16
            if (right + width < overlay.width - 16)
                return Math.max(16, Math.min(overlay.height - height - 16, overlay.hole.y + overlay.hole.height / 2 - height / 2))
            const below = overlay.hole.y + overlay.hole.height + 14
            return below + height < overlay.height - 16 ? below : Math.max(16, overlay.hole.y - height - 14)
        }
        Behavior on x { NumberAnimation { duration: 220; easing.type: Easing.OutCubic } }
        Behavior on y { NumberAnimation { duration: 220; easing.type: Easing.OutCubic } }

        Column {
            id: content
            x: 20
            y: 20
            width: parent.width - 40
            spacing: 10
            Rectangle {
                width: 44
                height: 44
                radius: 12
                color: Style.theme.highlight
                Icon {
                    anchors.centerIn: parent
                    symbol: overlay.guide.symbol
                    size: 24
                    color: Style.theme.accent
                }
            }
            Text {
                width: parent.width
                text: overlay.guide.title
                color: Style.theme.text
                font.pixelSize: Style.headingSize + 2
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
            Text {
                width: parent.width
                text: overlay.guide.text
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize
                wrapMode: Text.Wrap
                lineHeight: 1.2
            }
            Item {
                width: parent.width
                height: 34
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: overlay.guide.counter
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.captionSize
                }
                Row {
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 8
                    ActionButton {
                        text: overlay.guide.backTitle
                        onClicked: overlay.guide.back()
                    }
                    ActionButton {
                        prominent: true
                        text: overlay.guide.forwardTitle
                        onClicked: overlay.guide.next()
                    }
                }
            }
        }
    }
}
