import QtQuick 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import org.kde.plasma.plasmoid 2.0

// Plasma 5's root: its plasmoid properties, theme and command runner around the shared state
// (PulseState, PulsePanel), which the install puts beside it.
Item {
    Plasmoid.preferredRepresentation: Plasmoid.compactRepresentation
    Plasmoid.compactRepresentation: PulsePanel {
        pulse: mireo
        font: PlasmaCore.Theme.defaultFont
        textColor: PlasmaCore.Theme.textColor
        backgroundColor: PlasmaCore.Theme.backgroundColor
        onClicked: mireo.activate()
    }
    Plasmoid.toolTipMainText: mireo.toolTipTitle
    Plasmoid.toolTipSubText: mireo.toolTipBody
    Plasmoid.toolTipTextFormat: Text.StyledText

    PulseState {
        id: mireo
        onRun: runner.connectSource(command)
    }
    PlasmaCore.DataSource {
        id: runner
        engine: "executable"
        onNewData: {
            disconnectSource(sourceName);
            mireo.received(sourceName, data.stdout);
        }
    }
    Component.onCompleted: mireo.start()
}
