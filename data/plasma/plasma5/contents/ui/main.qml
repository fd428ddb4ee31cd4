import QtQuick 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import org.kde.plasma.plasmoid 2.0

import "pulse.js" as Pulse

// Plasma 5's root: its plasmoid properties and theme around the shared state and view
// (PulseState, PulsePanel), which the install puts beside it. Plasma 5 has no D-Bus module for
// QML, so the app is read through gdbus, one light process every two seconds.
Item {
    id: root

    // The app's unique name on the bus once known; reading it never activates the app.
    property string owner: ""

    Plasmoid.preferredRepresentation: Plasmoid.compactRepresentation
    Plasmoid.compactRepresentation: PulsePanel {
        pulse: mireo
        font: PlasmaCore.Theme.defaultFont
        textColor: PlasmaCore.Theme.textColor
        backgroundColor: PlasmaCore.Theme.backgroundColor
        onClicked: runner.connectSource(Pulse.activate)
    }
    Plasmoid.toolTipMainText: mireo.toolTipTitle
    Plasmoid.toolTipSubText: mireo.toolTipBody
    Plasmoid.toolTipTextFormat: Text.StyledText

    PulseState {
        id: mireo
    }
    PlasmaCore.DataSource {
        id: runner
        engine: "executable"
        onNewData: {
            disconnectSource(sourceName);
            if (sourceName !== Pulse.readCommand(root.owner))
                return;
            if (!root.owner) {
                root.owner = Pulse.ownerIn(data.stdout);
                if (root.owner)
                    runner.connectSource(Pulse.readCommand(root.owner));
                return;
            }
            // No answer within the read's time-out: the app is gone or silent.
            mireo.properties = Pulse.propertiesIn(data.stdout);
            if (!mireo.properties)
                root.owner = "";
        }
    }
    Timer {
        interval: 2000
        repeat: true
        running: true
        triggeredOnStart: true
        onTriggered: runner.connectSource(Pulse.readCommand(root.owner))
    }
    Component.onCompleted: runner.connectSource(Pulse.start)
}
