import QtQuick
import org.kde.kirigami as Kirigami
import org.kde.plasma.plasma5support as P5Support
import org.kde.plasma.plasmoid

// Plasma 6's root: its plasmoid item, theme and command runner around the shared state
// (PulseState, PulsePanel), which the install puts beside it.
PlasmoidItem {
    preferredRepresentation: compactRepresentation
    compactRepresentation: PulsePanel {
        pulse: mireo
        font: Kirigami.Theme.defaultFont
        textColor: Kirigami.Theme.textColor
        backgroundColor: Kirigami.Theme.backgroundColor
        onClicked: mireo.activate()
    }
    toolTipMainText: mireo.toolTipTitle
    toolTipSubText: mireo.toolTipBody
    toolTipTextFormat: Text.StyledText

    PulseState {
        id: mireo
        onRun: command => runner.connectSource(command)
    }
    P5Support.DataSource {
        id: runner
        engine: "executable"
        onNewData: (sourceName, data) => {
            disconnectSource(sourceName);
            mireo.received(sourceName, data.stdout);
        }
    }
    Component.onCompleted: mireo.start()
}
