import QtQuick
import QtQuick.Controls
import Tessel.UI

// Short notices in the lower right corner, newest on top. Hovering one holds
// its countdown; leaving gives it at least a moment more.
ListView {
    id: stack
    required property AppNotifications notices

    width: 360
    height: contentHeight
    interactive: false
    spacing: 10
    verticalLayoutDirection: ListView.BottomToTop
    model: notices

    add: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 180 }
        NumberAnimation { property: "x"; from: 40; to: 0; duration: 220; easing.type: Easing.OutCubic }
    }
    remove: Transition {
        NumberAnimation { property: "opacity"; to: 0; duration: 160 }
    }
    displaced: Transition {
        NumberAnimation { property: "y"; duration: 200; easing.type: Easing.OutCubic }
    }

    delegate: Rectangle {
        id: card
        required property string noticeId
        required property string kind
        required property string title
        required property var detail
        required property var actionTitle
        required property var symbol
        required property real duration
        required property real remaining
        required property real deadline
        required property bool paused

        readonly property color tone: kind === "success" ? Style.theme.success
                                    : kind === "warning" ? Style.theme.warning
                                    : kind === "failure" ? Style.theme.danger : Style.theme.accent
        property real now: Date.now()

        width: stack.width
        height: body.implicitHeight + 28
        radius: Style.radius + 2
        color: Style.theme.surface
        border.width: 1
        border.color: Style.mix(Style.theme.outline, tone, 0.35)

        Timer {
            interval: 50
            repeat: true
            running: card.duration > 0 && !card.paused
            onTriggered: card.now = Date.now()
        }
        HoverHandler {
            onHoveredChanged: hovered ? stack.notices.pause(card.noticeId) : stack.notices.resume(card.noticeId)
        }

        Row {
            id: body
            x: 14
            y: 14
            width: parent.width - 28
            spacing: 12
            Icon {
                symbol: card.symbol ? card.symbol : "info.circle.fill"
                size: 20
                color: card.tone
            }
            Column {
                width: parent.width - 20 - 12 - 24
                spacing: 4
                Text {
                    width: parent.width
                    text: card.title
                    color: Style.theme.text
                    font.pixelSize: Style.bodySize
                    font.weight: Font.DemiBold
                    wrapMode: Text.Wrap
                }
                Text {
                    visible: !!card.detail
                    width: parent.width
                    text: card.detail ? card.detail : ""
                    color: Style.theme.secondaryText
                    font.pixelSize: Style.bodySize - 1
                    wrapMode: Text.Wrap
                }
                ActionButton {
                    visible: !!card.actionTitle
                    text: card.actionTitle ? card.actionTitle : ""
                    implicitHeight: 26
                    onClicked: stack.notices.trigger(card.noticeId)
                }
            }
            AbstractButton {
                width: 20
                height: 20
                hoverEnabled: true
                Accessible.name: "Dismiss"
                onClicked: stack.notices.dismiss(card.noticeId)
                contentItem: Icon {
                    symbol: "xmark"
                    size: 12
                    color: parent.hovered ? Style.theme.text : Style.theme.secondaryText
                }
            }
        }

        // What is left of the countdown.
        Rectangle {
            visible: card.duration > 0
            anchors.bottom: parent.bottom
            anchors.left: parent.left
            anchors.bottomMargin: 1
            anchors.leftMargin: parent.radius
            height: 2
            radius: 1
            color: card.tone
            opacity: 0.6
            width: {
                const left = card.paused ? card.remaining : Math.max(0, (card.deadline - card.now) / 1000)
                return (parent.width - 2 * parent.radius) * Math.min(1, left / card.duration)
            }
        }
    }
}
