pragma Singleton
import QtQuick

// Measures and the current theme, shared by every view. Main hands it the theme.
QtObject {
    property var theme: null

    readonly property int radius: 10
    readonly property int smallRadius: 6
    readonly property int gap: 16
    readonly property int sidebarWidth: 232
    readonly property int topBarHeight: 56
    readonly property int titleSize: 20
    readonly property int headingSize: 15
    readonly property int bodySize: 13
    readonly property int captionSize: 11

    function icon(symbol, color) {
        return "image://icon/" + symbol + "?color=" + color
    }
    // The same decimal units as the command-line tool: "999 bytes", "1.0 KB", "100 KB".
    function bytes(value) {
        if (value === undefined || value === null) return ""
        if (value < 1000) return Math.round(value) + " bytes"
        const units = ["bytes", "KB", "MB", "GB", "TB", "PB"]
        let scaled = value
        let unit = 0
        while (scaled >= 1000 && unit < units.length - 1) {
            scaled /= 1000
            unit += 1
        }
        return (scaled >= 100 ? scaled.toFixed(0) : scaled.toFixed(1)) + " " + units[unit]
    }
    // "1 file", "2,003 files"
    function counted(value, one, many) {
        return count(value) + " " + (value === 1 ? one : many)
    }
    function count(value) {
        return Number(value).toLocaleString(Qt.locale(), "f", 0)
    }
    function mix(a, b, amount) {
        return Qt.rgba(a.r + (b.r - a.r) * amount, a.g + (b.g - a.g) * amount,
                       a.b + (b.b - a.b) * amount, a.a + (b.a - a.a) * amount)
    }
}
