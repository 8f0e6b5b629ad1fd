import QtQuick
import Tessel.UI

// A span of one or two readings, the last hour by default, drawn as lines
// over a faint fill, the newest at the right edge. Time not yet recorded
// stays empty on the left: the chart shows what was measured, nothing more.
// Without labels it is small enough to stand in a row of figures.
Item {
    id: chart
    property var xs: []          // 0 to 1 across the span, oldest first
    property var series: []      // arrays of values, one per line, beside xs
    property var colors: []      // one per line
    property real maximum: 1     // the value at the top edge
    property string topLabel: ""
    property string startLabel: "1 hour ago"
    property string endLabel: "Now"
    // A dot on each value, where values are few and each one counts, as a day's.
    property bool marksPoints: false
    readonly property color ground: Style.mix(Style.theme.surface, Style.theme.background, 0.6)
    implicitHeight: 96

    onXsChanged: canvas.requestPaint()
    onSeriesChanged: canvas.requestPaint()
    onMaximumChanged: canvas.requestPaint()
    Connections {
        target: Style
        function onThemeChanged() { canvas.requestPaint() }
    }

    Rectangle {
        anchors.fill: parent
        radius: Style.smallRadius
        color: chart.ground
        border.width: 1
        border.color: Style.theme.outline
    }
    Canvas {
        id: canvas
        anchors.fill: parent
        anchors.margins: 1
        renderTarget: Canvas.Image
        onPaint: {
            const ctx = getContext("2d")
            ctx.reset()
            const w = width, h = height
            ctx.strokeStyle = Style.theme.outline
            ctx.lineWidth = 1
            // Three rules in a chart a row tall would be noise.
            for (const fraction of (h >= 48 ? [0.25, 0.5, 0.75] : [])) {
                ctx.beginPath()
                ctx.moveTo(0, Math.round(h * fraction) + 0.5)
                ctx.lineTo(w, Math.round(h * fraction) + 0.5)
                ctx.stroke()
            }
            const top = chart.maximum > 0 ? chart.maximum : 1
            for (let line = chart.series.length - 1; line >= 0; --line) {
                const values = chart.series[line]
                if (!values || values.length === 0) continue
                const colour = chart.colors[line] || Style.theme.accent
                // Dots are kept whole inside the edges.
                const inset = chart.marksPoints ? 4 : 1
                const px = i => chart.xs[i] * (w - 2 * inset) + inset
                const py = i => h - 2 - Math.min(1, Math.max(0, values[i] / top)) * (h - 8)
                // A value that is not a number is a gap: nothing was measured there.
                const known = i => typeof values[i] === "number" && !isNaN(values[i])
                ctx.fillStyle = Qt.rgba(colour.r, colour.g, colour.b, 0.14)
                let start = -1
                for (let i = 0; i <= values.length; ++i) {
                    if (i < values.length && known(i)) {
                        if (start < 0) start = i
                        continue
                    }
                    if (start >= 0) {
                        ctx.beginPath()
                        ctx.moveTo(px(start), h)
                        for (let j = start; j < i; ++j) ctx.lineTo(px(j), py(j))
                        ctx.lineTo(px(i - 1), h)
                        ctx.closePath()
                        ctx.fill()
                    }
                    start = -1
                }
                ctx.beginPath()
                let drawing = false
                for (let i = 0; i < values.length; ++i) {
                    if (!known(i)) { drawing = false; continue }
                    if (!drawing) ctx.moveTo(px(i), py(i))
                    else ctx.lineTo(px(i), py(i))
                    drawing = true
                }
                ctx.strokeStyle = colour
                ctx.lineWidth = 1.5
                ctx.stroke()
                if (!chart.marksPoints) continue
                ctx.fillStyle = colour
                for (let i = 0; i < values.length; ++i) {
                    if (!known(i)) continue
                    ctx.beginPath()
                    ctx.arc(px(i), py(i), 2.5, 0, 2 * Math.PI)
                    ctx.fill()
                }
            }
        }
    }
    // On a plate of the chart's own colour, so a line running high passes under it.
    Rectangle {
        x: 3
        y: 3
        width: top.implicitWidth + 6
        height: top.implicitHeight + 2
        radius: 3
        visible: top.text.length > 0
        color: chart.ground
        opacity: 0.9
        Text {
            id: top
            anchors.centerIn: parent
            text: chart.topLabel
            color: Style.theme.secondaryText
            font.pixelSize: Style.captionSize
        }
    }
    Text {
        anchors.left: parent.left
        anchors.bottom: parent.bottom
        anchors.margins: 6
        text: chart.startLabel
        visible: text.length > 0
        color: Style.theme.secondaryText
        font.pixelSize: Style.captionSize
        opacity: 0.8
    }
    Text {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 6
        text: chart.endLabel
        visible: text.length > 0
        color: Style.theme.secondaryText
        font.pixelSize: Style.captionSize
        opacity: 0.8
    }
}
