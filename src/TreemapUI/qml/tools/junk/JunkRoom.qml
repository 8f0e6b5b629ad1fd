import QtQuick
import QtQuick.Controls
import Tessel.UI

// Caches, logs, build data and old installers: one card per kind, largest
// first, each row with why it can go; what is safe starts ticked, and what a
// running program uses is marked and stays.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: footer.visible ? footer.height : 0
    readonly property JunkModel junk: session.tools.junk
    readonly property bool running: junk.search.phase === SearchState.Running
    readonly property bool hasGroups: junk.groups.count > 0
    readonly property string toolLine: {
        for (const tool of session.overview.tools)
            if (tool.key === "junk") return tool.line
        return ""
    }

    // What went elsewhere since the last look leaves its group.
    Component.onCompleted: junk.refreshPresence()

    FindingsHeader {
        id: header
        visible: !room.running && room.hasGroups
        headline: "Found " + Format.bytes(room.junk.totalFound) + " in " + Format.counted(room.junk.itemCount, "item", "items")
                  + ". What starts ticked can go without losing anything anyone made."
        detail: room.junk.inUseCount > 0 ? "What is marked In use stays: a program that uses it is running. Quit it, then find again." : ""
        recommendedHelp: "Tick only what is safe to remove, as when the search ended"
        allHelp: "Tick everything that can be moved, except what is in use"
        onSelectRecommended: room.junk.selectRecommended()
        onSelectAll: room.junk.selectAll()
        onFindAgain: room.junk.run()
    }

    // Looking: how far, and the way out.
    SearchingPane {
        visible: room.running
        title: "Looking for junk"
        done: room.junk.search.done
        total: room.junk.search.total
        waitingText: "Reading your home folder…"
        measuringText: "Measuring " + Format.count(room.junk.search.done) + " of " + Format.counted(room.junk.search.total, "place", "places") + "…"
        onCancel: room.junk.cancel()
    }

    // Nothing to show: not looked yet, or nothing found.
    StartPane {
        visible: !room.running && !room.hasGroups
        lookedAlready: room.junk.search.phase === SearchState.Done
        symbol: "sparkles"
        title: lookedAlready ? "No junk found" : "Junk Files"
        text: lookedAlready ? "Nothing here is worth clearing: no cache, log, build folder or installer of 1 MB or more." : room.toolLine
        buttonText: "Find Junk"
        onStart: room.junk.run()
    }

    TickedGroupsView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: footer.top
        x: 16
        width: parent.width - 32
        visible: !room.running && room.hasGroups
        model: room.junk.groups
        onToggle: path => room.junk.toggle(path)
        onToggleGroup: groupId => room.junk.toggleGroup(groupId)
    }

    RemovalFooter {
        id: footer
        anchors.bottom: parent.bottom
        session: room.session
        visible: !room.running && room.hasGroups
        tickedCount: room.junk.tickedCount
        tickedBytes: room.junk.tickedBytes
        onRemove: room.junk.removeTicked()
    }
}
