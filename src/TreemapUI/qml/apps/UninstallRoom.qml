import QtQuick
import QtQuick.Controls
import Tessel.UI

// The apps of this computer on the left; for the chosen ones, on the right,
// everything each keeps elsewhere, grouped by where it lies, with what goes
// ticked, what only an administrator can move set apart, and the command
// that removes an app its package manager owns.
Item {
    id: room
    required property AppSession session
    readonly property UninstallModel uninstall: session.uninstall
    readonly property real actionBarHeight: footer.visible ? footer.height : 0

    Component.onCompleted: uninstall.loadIfNeeded()

    // ── The apps ──────────────────────────────────────────────────────────
    Rectangle {
        id: appsPane
        width: Math.max(320, Math.min(440, Math.round(room.width * 0.4)))
        anchors.top: parent.top
        anchors.bottom: footer.top
        color: Style.theme.background
        Rectangle {
            anchors.right: parent.right
            width: 1
            height: parent.height
            color: Style.theme.outline
        }

        Column {
            id: appsHeader
            x: 16
            y: 14
            width: parent.width - 32
            spacing: 10
            Row {
                width: parent.width
                spacing: 8
                InputField {
                    id: filterField
                    width: parent.width - orderChoice.width - 8
                    symbol: "magnifyingglass"
                    placeholderText: "Filter apps"
                    text: room.uninstall.filter
                    onTextEdited: room.uninstall.filter = text
                    Accessible.name: "Filter apps"
                }
                Segmented {
                    id: orderChoice
                    anchors.verticalCenter: parent.verticalCenter
                    options: [["name", "Name"], ["size", "Size"]]
                    value: room.uninstall.order
                    onPicked: function(value) { room.uninstall.order = value }
                }
            }
            // Launchers pinned to the desktop's dock or panel whose app is gone.
            Rectangle {
                width: parent.width
                visible: room.uninstall.orphanLaunchers.length > 0
                height: visible ? launcherColumn.implicitHeight + 20 : 0
                radius: Style.smallRadius + 1
                color: Style.mix(Style.theme.background, Style.theme.warning, 0.1)
                border.width: 1
                border.color: Style.mix(Style.theme.outline, Style.theme.warning, 0.4)
                Column {
                    id: launcherColumn
                    x: 10
                    y: 10
                    width: parent.width - 20
                    spacing: 8
                    Text {
                        width: parent.width
                        wrapMode: Text.Wrap
                        textFormat: Text.PlainText
                        text: (room.uninstall.orphanLaunchers.length === 1
                               ? "A pinned launcher opens an app that is gone: "
                               : Format.count(room.uninstall.orphanLaunchers.length) + " pinned launchers open apps that are gone: ")
                              + room.uninstall.orphanLaunchers.join(", ") + "."
                        color: Style.theme.text
                        font.pixelSize: Style.bodySize
                    }
                    ActionButton {
                        text: room.uninstall.orphanLaunchers.length === 1 ? "Take It Off" : "Take Them Off"
                        help: "Removes them from the dock or panel; nothing else changes"
                        onClicked: room.uninstall.removeOrphanLaunchers()
                    }
                }
            }
        }

        ListView {
            id: appList
            anchors.top: appsHeader.bottom
            anchors.topMargin: 10
            anchors.bottom: appsFooter.top
            width: parent.width - 1
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            visible: room.uninstall.hasLoaded
            model: room.uninstall.apps
            ScrollBar.vertical: ScrollBar {}
            delegate: AppRow {
                id: app
                required property int index
                required property string key
                required property string source
                required property string lastOpened
                width: appList.width
                detail: source + (room.uninstall.hasDates ? "  ·  Last opened " + lastOpened : "")
                onClicked: modifiers => room.uninstall.choose(app.index, modifiers)
            }
        }

        Text {
            anchors.top: appsHeader.bottom
            anchors.topMargin: 40
            x: 16
            width: parent.width - 32
            visible: room.uninstall.hasLoaded && appList.count === 0
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: room.uninstall.appCount === 0 ? "No app was found that can be uninstalled."
                                                : "No app matches \u201c" + room.uninstall.filter + "\u201d."
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }

        Column {
            anchors.centerIn: parent
            spacing: 12
            visible: !room.uninstall.hasLoaded
            BusyIndicator {
                anchors.horizontalCenter: parent.horizontalCenter
                running: parent.visible
            }
            Text {
                text: "Reading the apps of this computer…"
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize
            }
        }

        Item {
            id: appsFooter
            anchors.bottom: parent.bottom
            width: parent.width
            height: visible ? appsCount.implicitHeight + 20 : 0
            visible: room.uninstall.hasLoaded
            Text {
                id: appsCount
                x: 16
                width: parent.width - 32
                anchors.verticalCenter: parent.verticalCenter
                wrapMode: Text.Wrap
                text: Format.counted(room.uninstall.appCount, "app", "apps")
                      + (room.uninstall.builtInCount > 0
                         ? ". " + Format.counted(room.uninstall.builtInCount, "app", "apps")
                           + " that came with the system stay out of this list: removing them could break it."
                         : ".")
                color: Style.theme.secondaryText
                font.pixelSize: Style.captionSize + 1
            }
        }
    }

    // ── What the chosen apps keep, and how they go ────────────────────────
    Item {
        id: plansPane
        anchors.left: appsPane.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: footer.top

        ResultBanner {
            id: resultBanner
            x: 20
            y: visible ? 14 : 0
            width: parent.width - 40
            text: room.uninstall.result
            detail: room.uninstall.resultDetail
            actionText: "Put Back"
            actionEnabled: room.session.removal.canUndo
            onAct: room.uninstall.undo()
        }

        // Nothing chosen yet.
        Column {
            anchors.centerIn: parent
            width: Math.min(parent.width - 80, 420)
            spacing: 10
            visible: room.uninstall.chosenCount === 0
            Rectangle {
                width: 64
                height: 64
                radius: 32
                anchors.horizontalCenter: parent.horizontalCenter
                color: Qt.rgba(Style.theme.accent.r, Style.theme.accent.g, Style.theme.accent.b, 0.12)
                Icon {
                    anchors.centerIn: parent
                    symbol: "trash"
                    size: 28
                    color: Style.theme.accent
                }
            }
            Text {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                text: "Choose an app to uninstall"
                color: Style.theme.text
                font.pixelSize: Style.headingSize + 2
                font.weight: Font.DemiBold
            }
            Text {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                text: "Tessel shows what the app keeps elsewhere, its settings, caches and data, and moves it to the Trash "
                      + "with the app, where all of it can be put back. Ctrl-click or Shift-click chooses more than one."
                color: Style.theme.secondaryText
                font.pixelSize: Style.bodySize + 1
                lineHeight: 1.2
            }
        }

        ListView {
            id: planList
            anchors.top: resultBanner.bottom
            anchors.topMargin: 14
            anchors.bottom: parent.bottom
            x: 16
            width: parent.width - 28
            clip: true
            spacing: 12
            visible: room.uninstall.chosenCount > 0
            model: room.uninstall.plans
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}
            footer: Item { height: 14 }
            delegate: Card {
                id: plan
                required property string key
                required property string name
                required property string icon
                required property string source
                required property bool running
                required property bool building
                required property var bundle
                required property string handoff
                required property string appstreamId
                required property var groups
                required property var administrator
                required property string summary
                width: planList.width - 12
                padding: 16
                Column {
                    width: parent.width
                    spacing: 10

                    Item {
                        width: parent.width
                        height: Math.max(planIcon.height, planTitle.implicitHeight)
                        AppIcon {
                            id: planIcon
                            source: plan.icon
                            size: 36
                        }
                        Column {
                            id: planTitle
                            anchors.left: planIcon.right
                            anchors.leftMargin: 12
                            anchors.right: parent.right
                            anchors.verticalCenter: parent.verticalCenter
                            spacing: 2
                            Row {
                                spacing: 8
                                Text {
                                    textFormat: Text.PlainText
                                    text: plan.name
                                    color: Style.theme.text
                                    font.pixelSize: Style.headingSize
                                    font.weight: Font.DemiBold
                                }
                                Tag {
                                    visible: plan.running
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: "Running"
                                    tone: Style.theme.warning
                                }
                            }
                            Text {
                                width: parent.width
                                elide: Text.ElideRight
                                text: plan.source + (plan.building ? "" : "  ·  " + plan.summary)
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.bodySize
                            }
                        }
                    }

                    Row {
                        visible: plan.building
                        spacing: 10
                        BusyIndicator {
                            width: 20
                            height: 20
                            running: plan.building
                        }
                        Text {
                            anchors.verticalCenter: parent.verticalCenter
                            textFormat: Text.PlainText
                            text: "Looking for what " + plan.name + " keeps elsewhere…"
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.bodySize
                        }
                    }

                    Text {
                        width: parent.width
                        visible: plan.running && !plan.building
                        wrapMode: Text.Wrap
                        textFormat: Text.PlainText
                        text: plan.name + " is running. Quit it first: while it runs, its files stay where they are."
                        color: Style.theme.warning
                        font.pixelSize: Style.bodySize
                    }

                    // The app's own file or folder, which goes to the Trash with the rest.
                    Rectangle {
                        width: parent.width
                        visible: plan.bundle.path !== undefined
                        height: visible ? bundleText.implicitHeight + 14 : 0
                        radius: Style.smallRadius
                        color: plan.bundle.ticked ? Style.mix(Style.theme.surface, Style.theme.accent, 0.06) : "transparent"
                        CheckBox {
                            id: bundleTick
                            x: 2
                            anchors.verticalCenter: parent.verticalCenter
                            checked: plan.bundle.ticked === true
                            onToggled: {
                                room.uninstall.toggle(plan.bundle.path)
                                checked = Qt.binding(() => plan.bundle.ticked === true)
                            }
                            Accessible.name: "The app itself"
                        }
                        Column {
                            id: bundleText
                            anchors.left: bundleTick.right
                            anchors.leftMargin: 4
                            anchors.right: bundleSize.left
                            anchors.rightMargin: 12
                            anchors.verticalCenter: parent.verticalCenter
                            spacing: 1
                            Text {
                                text: "The app itself"
                                color: Style.theme.text
                                font.pixelSize: Style.bodySize
                                font.weight: Font.Medium
                            }
                            Text {
                                width: parent.width
                                elide: Text.ElideMiddle
                                textFormat: Text.PlainText
                                text: plan.bundle.shown !== undefined ? plan.bundle.shown : ""
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.captionSize + 1
                            }
                        }
                        Text {
                            id: bundleSize
                            anchors.right: parent.right
                            anchors.rightMargin: 8
                            anchors.verticalCenter: parent.verticalCenter
                            text: plan.bundle.size !== undefined ? plan.bundle.size : ""
                            color: Style.theme.text
                            font.pixelSize: Style.bodySize
                        }
                    }

                    // An app its package manager owns goes by its command, never file by file.
                    Column {
                        width: parent.width
                        visible: plan.handoff.length > 0
                        spacing: 8
                        Text {
                            width: parent.width
                            wrapMode: Text.Wrap
                            text: "The app itself is removed by its package manager. Run this in a terminal; it asks for "
                                  + "a password where it must. Tessel never does."
                            color: Style.theme.text
                            font.pixelSize: Style.bodySize
                        }
                        CommandBox {
                            width: parent.width
                            command: plan.handoff
                            onCopy: room.uninstall.copyHandoff(plan.handoff)
                        }
                        ActionButton {
                            visible: plan.appstreamId.length > 0
                            text: "Open in Software"
                            help: "Show the app in the software centre, which can remove it too"
                            onClicked: room.uninstall.openInSoftware(plan.appstreamId)
                        }
                    }

                    // What it keeps elsewhere, by location.
                    Repeater {
                        model: plan.groups
                        delegate: Column {
                            id: group
                            required property var modelData
                            width: parent.width
                            spacing: 2
                            Item {
                                width: parent.width
                                height: groupTitle.implicitHeight + 8
                                Text {
                                    id: groupTitle
                                    anchors.bottom: parent.bottom
                                    anchors.bottomMargin: 2
                                    text: group.modelData.label.toUpperCase()
                                    color: Style.theme.secondaryText
                                    font.pixelSize: Style.captionSize
                                    font.weight: Font.DemiBold
                                    font.letterSpacing: 0.6
                                }
                                Text {
                                    anchors.right: parent.right
                                    anchors.rightMargin: 8
                                    anchors.bottom: parent.bottom
                                    anchors.bottomMargin: 2
                                    text: group.modelData.size
                                    color: Style.theme.secondaryText
                                    font.pixelSize: Style.captionSize
                                    font.weight: Font.DemiBold
                                }
                            }
                            Repeater {
                                model: group.modelData.items
                                delegate: Rectangle {
                                    id: item
                                    required property var modelData
                                    width: group.width
                                    height: itemText.implicitHeight + 10
                                    radius: Style.smallRadius
                                    color: item.modelData.ticked ? Style.mix(Style.theme.surface, Style.theme.accent, 0.06) : "transparent"
                                    HoverHandler { id: itemHover }
                                    ToolTip.visible: itemHover.hovered
                                    ToolTip.delay: 700
                                    ToolTip.text: item.modelData.path
                                    CheckBox {
                                        id: itemTick
                                        x: 2
                                        anchors.verticalCenter: parent.verticalCenter
                                        enabled: item.modelData.tickable
                                        checked: item.modelData.ticked
                                        onToggled: {
                                            room.uninstall.toggle(item.modelData.path)
                                            checked = Qt.binding(() => item.modelData.ticked)
                                        }
                                        Accessible.name: item.modelData.shown
                                    }
                                    Column {
                                        id: itemText
                                        anchors.left: itemTick.right
                                        anchors.leftMargin: 4
                                        anchors.right: itemSize.left
                                        anchors.rightMargin: 12
                                        anchors.verticalCenter: parent.verticalCenter
                                        spacing: 1
                                        Row {
                                            width: parent.width
                                            spacing: 8
                                            Text {
                                                width: Math.min(implicitWidth, parent.width - confidenceTag.width - 8
                                                                - (documentsTag.visible ? documentsTag.width + 8 : 0))
                                                elide: Text.ElideMiddle
                                                textFormat: Text.PlainText
                                                text: item.modelData.shown
                                                color: Style.theme.text
                                                font.pixelSize: Style.bodySize
                                            }
                                            Tag {
                                                id: confidenceTag
                                                anchors.verticalCenter: parent.verticalCenter
                                                text: item.modelData.confidence
                                                tone: item.modelData.confidence === "Certain" ? Style.theme.success
                                                    : item.modelData.confidence === "Likely" ? Style.theme.accent
                                                    : Style.theme.secondaryText
                                            }
                                            Tag {
                                                id: documentsTag
                                                visible: item.modelData.documents
                                                anchors.verticalCenter: parent.verticalCenter
                                                text: "May hold your documents"
                                                tone: Style.theme.warning
                                            }
                                        }
                                        Text {
                                            width: parent.width
                                            wrapMode: Text.Wrap
                                            textFormat: Text.PlainText
                                            text: item.modelData.documents
                                                  ? item.modelData.reason + ". It stays: look inside, and move what you no longer need yourself."
                                                  : item.modelData.reason
                                            color: Style.theme.secondaryText
                                            font.pixelSize: Style.captionSize + 1
                                        }
                                    }
                                    Text {
                                        id: itemSize
                                        anchors.right: parent.right
                                        anchors.rightMargin: 8
                                        anchors.verticalCenter: parent.verticalCenter
                                        text: item.modelData.size
                                        color: Style.theme.text
                                        font.pixelSize: Style.bodySize
                                    }
                                }
                            }
                        }
                    }

                    // Set apart: what only an administrator can move.
                    Column {
                        width: parent.width
                        visible: plan.administrator.length > 0
                        spacing: 4
                        Item {
                            width: parent.width
                            height: adminTitle.implicitHeight + 8
                            Text {
                                id: adminTitle
                                anchors.bottom: parent.bottom
                                anchors.bottomMargin: 2
                                text: "NEEDS AN ADMINISTRATOR"
                                color: Style.theme.secondaryText
                                font.pixelSize: Style.captionSize
                                font.weight: Font.DemiBold
                                font.letterSpacing: 0.6
                            }
                        }
                        Text {
                            width: parent.width
                            wrapMode: Text.Wrap
                            text: "Tessel never asks for your password, so these stay. Show them in Files to remove them "
                                  + "there as an administrator, or leave them: they do no harm."
                            color: Style.theme.secondaryText
                            font.pixelSize: Style.captionSize + 1
                        }
                        Repeater {
                            model: plan.administrator
                            delegate: Item {
                                id: adminItem
                                required property var modelData
                                width: parent.width
                                height: adminText.implicitHeight + 8
                                Column {
                                    id: adminText
                                    anchors.left: parent.left
                                    anchors.leftMargin: 30
                                    anchors.right: adminSize.left
                                    anchors.rightMargin: 12
                                    anchors.verticalCenter: parent.verticalCenter
                                    Text {
                                        width: parent.width
                                        elide: Text.ElideMiddle
                                        textFormat: Text.PlainText
                                        text: adminItem.modelData.shown
                                        color: Style.theme.text
                                        font.pixelSize: Style.bodySize
                                    }
                                    Text {
                                        text: adminItem.modelData.location
                                        color: Style.theme.secondaryText
                                        font.pixelSize: Style.captionSize + 1
                                    }
                                }
                                Text {
                                    id: adminSize
                                    anchors.right: parent.right
                                    anchors.rightMargin: 8
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: adminItem.modelData.size
                                    color: Style.theme.text
                                    font.pixelSize: Style.bodySize
                                }
                            }
                        }
                        ActionButton {
                            x: 30
                            text: "Show in Files"
                            symbol: "folder"
                            onClicked: room.uninstall.showInFiles(plan.administrator.map(entry => entry.path))
                        }
                    }
                }
            }
        }
    }

    Rectangle {
        id: footer
        anchors.bottom: parent.bottom
        width: parent.width
        height: visible ? 56 : 0
        visible: room.uninstall.chosenCount > 0
        color: Style.theme.surface
        Rectangle {
            width: parent.width
            height: 1
            color: Style.theme.outline
        }
        Text {
            x: 24
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - footerButtons.width - 64
            elide: Text.ElideRight
            text: room.uninstall.isBuildingPlan && room.uninstall.tickedCount === 0
                  ? "Looking for what " + (room.uninstall.chosenCount === 1 ? "the app" : "the apps") + " left around…"
                  : room.uninstall.tickedCount === 0
                    ? "Tick what to move to the Trash."
                    : Format.counted(room.uninstall.tickedCount, "item", "items") + " ticked, freeing "
                      + Format.bytes(room.uninstall.tickedBytes) + "."
            color: Style.theme.secondaryText
            font.pixelSize: Style.bodySize
        }
        Row {
            id: footerButtons
            anchors.right: parent.right
            anchors.rightMargin: 24
            anchors.verticalCenter: parent.verticalCenter
            spacing: 8
            ActionButton {
                enabled: room.uninstall.selectableCount > 0
                text: room.uninstall.selectsEverything ? "Select None" : "Select All"
                onClicked: room.uninstall.selectsEverything ? room.uninstall.selectNone() : room.uninstall.selectAll()
            }
            ActionButton {
                prominent: true
                symbol: "trash"
                text: "Move to Trash…"
                enabled: room.uninstall.tickedCount > 0 && !room.session.removal.isWorking
                onClicked: room.uninstall.removeTicked()
            }
        }
    }
}
