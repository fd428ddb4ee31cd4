import QtQuick
import org.kde.kirigami as Kirigami
import org.kde.plasma.plasma5support as P5Support
import org.kde.plasma.plasmoid
import org.kde.plasma.workspace.dbus as DBus

import "pulse.js" as Pulse

// Plasma 6's root: its plasmoid item and theme around the shared state and view (PulseState,
// PulsePanel), which the install puts beside it. Plasma's own D-Bus module follows the app: a
// service watcher and its properties, moved by PropertiesChanged; nothing polls.
PlasmoidItem {
    preferredRepresentation: compactRepresentation
    compactRepresentation: PulsePanel {
        pulse: mireo
        font: Kirigami.Theme.defaultFont
        textColor: Kirigami.Theme.textColor
        backgroundColor: Kirigami.Theme.backgroundColor
        onClicked: runner.connectSource(Pulse.activate)
    }
    toolTipMainText: mireo.toolTipTitle
    toolTipSubText: mireo.toolTipBody
    toolTipTextFormat: Text.StyledText

    // The module's property map follows PropertiesChanged; these bindings follow the map.
    PulseState {
        id: mireo
        properties: watcher.registered ? Pulse.plainValues({
            Title: app.properties.Title,
            ToolTip: app.properties.ToolTip,
            Tone: app.properties.Tone,
            Stale: app.properties.Stale,
            Metric: app.properties.Metric
        }) : null
    }
    DBus.DBusServiceWatcher {
        id: watcher
        busType: DBus.BusType.Session
        watchedService: Pulse.service
        onRegisteredChanged: {
            if (registered)
                app.updateAll();
        }
    }
    DBus.Properties {
        id: app
        busType: DBus.BusType.Session
        service: Pulse.service
        path: Pulse.path
        iface: Pulse.stateInterface
    }
    // Starting the app and a click are rare: a gdbus process each, as on Plasma 5.
    P5Support.DataSource {
        id: runner
        engine: "executable"
        onNewData: sourceName => disconnectSource(sourceName)
    }
    Component.onCompleted: {
        runner.connectSource(Pulse.start);
        if (watcher.registered)
            app.updateAll();
    }
}
