import QtQuick
import QtQuick.Controls
import Tessel.UI

// What removed apps left behind: one card per owner, largest first, each row
// with how sure the judgement is and why. Only what is certain starts ticked:
// disposable things no app has touched for a month.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: footer.visible ? footer.height : 0
    readonly property LeftoversModel leftovers: session.tools.leftovers
    readonly property bool running: leftovers.search.phase === SearchState.Running
    readonly property bool hasGroups: leftovers.groups.count > 0
    readonly property string toolLine: {
        for (const tool of session.overview.tools)
            if (tool.key === "leftovers") return tool.line
        return ""
    }

    // What went elsewhere since the last look leaves its group.
    Component.onCompleted: leftovers.refreshPresence()

    FindingsHeader {
        id: header
        visible: !room.running && room.hasGroups
        headline: "Found " + Format.bytes(room.leftovers.totalFound) + " in "
                  + Format.counted(room.leftovers.itemCount, "item", "items") + " that removed apps left behind."
        detail: "Only what is certain starts ticked. What may hold documents, starts by itself, or changed lately is yours to judge."
        recommendedHelp: "Tick only what is certain to be safe, as when the search ended"
        allHelp: "Tick everything that can be moved without an administrator"
        onSelectRecommended: room.leftovers.selectLikely()
        onSelectAll: room.leftovers.selectAll()
        onFindAgain: room.leftovers.run()
    }

    SearchingPane {
        visible: room.running
        title: "Looking for leftovers"
        done: room.leftovers.search.done
        total: room.leftovers.search.total
        waitingText: "Reading what is installed…"
        measuringText: "Looking through " + Format.count(room.leftovers.search.done) + " of "
                       + Format.counted(room.leftovers.search.total, "folder", "folders") + "…"
        onCancel: room.leftovers.cancel()
    }

    StartPane {
        visible: !room.running && !room.hasGroups
        lookedAlready: room.leftovers.search.phase === SearchState.Done
        symbol: "shippingbox"
        title: lookedAlready ? "No leftovers found" : "Leftovers"
        text: lookedAlready ? "Nothing in your settings, data and cache folders belongs to an app that is gone."
                            : room.toolLine
        buttonText: "Find Leftovers"
        onStart: room.leftovers.run()
    }

    TickedGroupsView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: footer.top
        x: 16
        width: parent.width - 32
        visible: !room.running && room.hasGroups
        model: room.leftovers.groups
        onToggle: path => room.leftovers.toggle(path)
        onToggleGroup: groupId => room.leftovers.toggleGroup(groupId)
    }

    RemovalFooter {
        id: footer
        anchors.bottom: parent.bottom
        session: room.session
        visible: !room.running && room.hasGroups
        tickedCount: room.leftovers.tickedCount
        tickedBytes: room.leftovers.tickedBytes
        onRemove: room.leftovers.removeTicked()
    }
}
