import QtQuick
import Tessel.UI

// An app's own icon as its desktop entry names it, or a plain app symbol
// where it names none or the icon can't be found.
Item {
    id: appIcon
    property string source
    property int size: 32
    width: size
    height: size
    Image {
        id: picture
        anchors.fill: parent
        source: appIcon.source
        sourceSize.width: appIcon.size * 2
        sourceSize.height: appIcon.size * 2
        fillMode: Image.PreserveAspectFit
        smooth: true
        visible: status === Image.Ready
    }
    Icon {
        anchors.centerIn: parent
        visible: picture.status !== Image.Ready
        symbol: "app"
        size: Math.round(appIcon.size * 0.8)
        color: Style.theme.secondaryText
    }
}
