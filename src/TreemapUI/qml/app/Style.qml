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
    function mix(a, b, amount) {
        return Qt.rgba(a.r + (b.r - a.r) * amount, a.g + (b.g - a.g) * amount,
                       a.b + (b.b - a.b) * amount, a.a + (b.a - a.a) * amount)
    }
}
