import QtQuick
import QtQuick.Controls
import Tessel.UI

// The AI models downloaded to this computer: one card per tool, largest
// first, each model with what it shares and with whom. Only downloads
// nothing uses start ticked; what Tessel leaves to its tool or to an
// administrator shows the command that removes it.
Item {
    id: room
    required property AppSession session
    readonly property real actionBarHeight: footer.visible ? footer.height : 0
    readonly property AIDataModel aiData: session.tools.aiData
    readonly property bool running: aiData.search.phase === SearchState.Running
    readonly property bool hasGroups: aiData.groups.count > 0
    readonly property string toolLine: {
        for (const tool of session.overview.tools)
            if (tool.key === "aiData") return tool.line
        return ""
    }

    FindingsHeader {
        id: header
        visible: !room.running && room.hasGroups
        headline: "Found " + Format.bytes(room.aiData.totalFound) + " in "
                  + Format.counted(room.aiData.itemCount, "AI model or download", "AI models and downloads") + "."
        detail: "A file several models share is counted once and goes only with the last of them. Only unfinished and unused downloads start ticked."
        recommendedHelp: "Tick only unfinished and unused downloads, as when the search ended"
        allHelp: "Tick every model Tessel may move to the Trash"
        onSelectRecommended: room.aiData.selectRecommended()
        onSelectAll: room.aiData.selectAll()
        onFindAgain: room.aiData.run()
    }

    SearchingPane {
        visible: room.running
        title: "Looking for AI models"
        done: room.aiData.search.done
        total: room.aiData.search.total
        waitingText: "Looking where AI apps keep their models…"
        measuringText: "Looking through " + Format.count(room.aiData.search.done) + " of "
                       + Format.counted(room.aiData.search.total, "place", "places") + "…"
        onCancel: room.aiData.cancel()
    }

    StartPane {
        visible: !room.running && !room.hasGroups
        lookedAlready: room.aiData.search.phase === SearchState.Done
        symbol: "brain"
        title: lookedAlready ? "No AI models found" : "AI Data Sweeper"
        text: lookedAlready ? "None of the places AI apps keep their models holds any." : room.toolLine
        buttonText: "Find AI Models"
        onStart: room.aiData.run()
    }

    TickedGroupsView {
        id: list
        anchors.top: header.bottom
        anchors.topMargin: 14
        anchors.bottom: footer.top
        x: 16
        width: parent.width - 32
        visible: !room.running && room.hasGroups
        model: room.aiData.groups
        onToggle: path => room.aiData.toggle(path)
        onToggleGroup: groupId => room.aiData.toggleGroup(groupId)
        onCopy: command => room.aiData.copyCommand(command)
    }

    RemovalFooter {
        id: footer
        anchors.bottom: parent.bottom
        session: room.session
        visible: !room.running && room.hasGroups
        tickedCount: room.aiData.tickedCount
        tickedBytes: room.aiData.tickedBytes
        onRemove: room.aiData.removeTicked()
    }
}
