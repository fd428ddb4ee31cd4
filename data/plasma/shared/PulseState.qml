import QtQuick 2.15

import "pulse.js" as Pulse

// What the applet shows, from the app's properties as the root reads them (null while the app is
// absent or silent: "M·").
QtObject {
    property var properties: null

    readonly property string text: properties && properties.Title ? properties.Title
                                                                 : Pulse.nothingKnown
    readonly property var toolTipLines: String(properties && properties.ToolTip
                                               ? properties.ToolTip : text).split("\n")
    readonly property string toolTipTitle: Pulse.escaped(toolTipLines[0])
    readonly property string toolTipBody: properties
        ? toolTipLines.slice(1).map(Pulse.escaped).join("<br>") : "Mireo Pulse"
    readonly property bool gain: !!properties && properties.Tone === "gain"
    readonly property bool loss: !!properties && properties.Tone === "loss"
    readonly property bool stale: !!properties && properties.Stale === true
}
