import QtQuick
import Tessel.UI

Text {
    color: Style.theme.text
    font.pixelSize: Style.bodySize
    wrapMode: Text.Wrap
    textFormat: Text.PlainText
    elide: Text.ElideRight
}
