import QtQuick 2.15

import "pulse.js" as Pulse

// The applet's state, fed by the root's command runner: polls once a second, falls back to
// "M·" when the app is gone or slow, and asks for activation.
QtObject {
    id: state

    property var line: Pulse.blank()
    readonly property string text: line.text
    readonly property string toolTipTitle: line.toolTipTitle
    readonly property string toolTipBody: line.toolTipBody
    readonly property bool gain: line.classes.indexOf("gain") >= 0
    readonly property bool loss: line.classes.indexOf("loss") >= 0
    readonly property bool stale: line.classes.indexOf("stale") >= 0

    // The root runs the command and hands its output to received().
    signal run(string command)

    function start() {
        run(Pulse.start);
        pollTimer.start();
    }
    function activate() { run(Pulse.activate); }

    function received(command, output) {
        if (command !== Pulse.poll)
            return;
        line = Pulse.parse(output);
        if (line.text !== Pulse.nothingKnown)
            silence.restart();
    }

    property Timer pollTimer: Timer {
        interval: 1000
        repeat: true
        triggeredOnStart: true
        onTriggered: state.run(Pulse.poll)
    }
    // A bus that answers slowly must not leave an old number on show.
    property Timer silence: Timer {
        interval: 5000
        onTriggered: state.line = Pulse.blank()
    }
}
