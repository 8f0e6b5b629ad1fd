import QtQuick
import Tessel.UI

// A symbol from the app's icon set, drawn in any colour at any size.
Image {
    property string symbol
    property color color: Style.theme.text
    property int size: 16

    width: size
    height: size
    sourceSize.width: size * 2
    sourceSize.height: size * 2
    smooth: true
    fillMode: Image.PreserveAspectFit
    source: symbol.length > 0 ? Style.icon(symbol, color) : ""
}
