import QtQuick
import QtQuick.Controls

ApplicationWindow {
    visible: true
    width: 1180
    height: 760
    title: "Tessel"
}
