import QtQuick 2.15
import QtQuick.Layouts 1.15

import "pulse.js" as Pulse

// What the panel shows: the gold dot and the title, coloured like the popover's signed numbers.
// The root passes the theme's font and colours; a click asks for the quick panel.
Item {
    id: panel

    property QtObject pulse
    property font font
    property color textColor
    property color backgroundColor
    signal clicked

    readonly property bool dark: Pulse.isDark(backgroundColor)

    implicitWidth: row.implicitWidth
    implicitHeight: row.implicitHeight
    Layout.minimumWidth: implicitWidth
    Layout.preferredWidth: implicitWidth

    Row {
        id: row
        anchors.centerIn: parent
        spacing: Math.round(title.font.pixelSize / 3)

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.round(title.font.pixelSize * 0.55)
            height: width
            radius: width / 2
            color: Pulse.gold
        }
        Text {
            id: title
            anchors.verticalCenter: parent.verticalCenter
            text: panel.pulse ? panel.pulse.text : Pulse.nothingKnown
            textFormat: Text.PlainText
            font.family: panel.font.family
            font.pixelSize: panel.font.pixelSize > 0 ? panel.font.pixelSize : 13
            font.weight: Font.DemiBold
            opacity: panel.pulse && panel.pulse.stale ? 0.6 : 1
            color: !panel.pulse ? panel.textColor
                 : panel.pulse.gain ? Pulse.gainColor(panel.dark)
                 : panel.pulse.loss ? Pulse.lossColor(panel.dark)
                 : panel.textColor
        }
    }
    MouseArea {
        anchors.fill: parent
        onClicked: panel.clicked()
    }
}
