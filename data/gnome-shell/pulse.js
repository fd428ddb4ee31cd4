// The top bar's Mireo Pulse button, whichever GNOME Shell runs it: the gold dot and the title,
// green for a gain and red for a loss, dimmed while the numbers are the offline cache, "M·"
// while the app is absent or silent. It follows the app over the session bus (a name watcher
// and PropertiesChanged) and never polls. A click opens the app's popover under the button; with
// the app absent, the bus starts it first.
//
// GNOME 43 and 44 load this file through `imports`, 45 and later as a module (the install adds
// the export), so it takes the shell's modules from its entry point and keeps to `var` for what
// it offers. The install fills in the app's names (cmake/AppNames.cmake).

var nothingKnown = 'M\u00B7';

const busName = '@MIREO_BUS_NAME@';
const objectPath = '@MIREO_OBJECT_PATH@';
const stateInterface = '@MIREO_STATE_INTERFACE@';
// Owned while this button shows the title: the app's own panel item then steps back, so the
// AppIndicator extension does not show the title a second time.
const titleShownHere = '@MIREO_PANEL_TITLE_NAME@';
// A bus that answers slower than this must not leave an old number on show.
const callTimeoutMs = 3000;

// The popover's colours for signed numbers on a dark background, and the gold dot.
var colours = {gain: '#3dd99e', loss: '#ff736b', dot: '#d4a843'};
const staleOpacity = 153;

// What the button shows for the app's properties (null while it is absent or has not answered).
var look = function (properties) {
    const title = properties && typeof properties.Title === 'string' && properties.Title
        ? properties.Title : nothingKnown;
    const tone = properties && (properties.Tone === 'gain' || properties.Tone === 'loss')
        ? properties.Tone : '';
    return {title, colour: tone ? colours[tone] : '', stale: !!(properties && properties.Stale === true)};
};

// shell: {Gio, GLib, St, Clutter, Main, PanelMenu}. Returns {destroy()}.
var createPulse = function (shell) {
    const {Gio, GLib, St, Clutter, Main, PanelMenu} = shell;
    const bus = Gio.DBus.session;

    const button = new PanelMenu.Button(0.0, 'Mireo Pulse', true);
    const box = new St.BoxLayout({y_align: Clutter.ActorAlign.CENTER});
    const dot = new St.Widget({
        y_align: Clutter.ActorAlign.CENTER,
        style: `background-color: ${colours.dot}; border-radius: 4px; width: 8px; height: 8px;` +
            ' margin-right: 6px;',
    });
    const label = new St.Label({text: nothingKnown, y_align: Clutter.ActorAlign.CENTER});
    box.add_child(dot);
    box.add_child(label);
    button.add_child(box);

    let properties = null;
    let answered = false;
    let subscription = 0;
    let cancellable = null;

    const show = () => {
        const shown = look(answered ? properties : null);
        label.text = shown.title;
        label.style = 'font-weight: bold;' + (shown.colour ? ` color: ${shown.colour};` : '');
        label.opacity = shown.stale ? staleOpacity : 255;
    };

    const forget = () => {
        if (subscription)
            bus.signal_unsubscribe(subscription);
        subscription = 0;
        if (cancellable)
            cancellable.cancel();
        cancellable = null;
        properties = null;
        answered = false;
    };

    const appeared = (connection, name, owner) => {
        forget();
        properties = {};
        subscription = bus.signal_subscribe(owner, 'org.freedesktop.DBus.Properties',
            'PropertiesChanged', objectPath, stateInterface, Gio.DBusSignalFlags.NONE,
            (conn, sender, path, iface, signal, parameters) => {
                const [, changed] = parameters.recursiveUnpack();
                Object.assign(properties, changed);
                show();
            });
        // One read when the app appears; from then on only its announcements.
        const asking = cancellable = new Gio.Cancellable();
        bus.call(owner, objectPath, 'org.freedesktop.DBus.Properties', 'GetAll',
            new GLib.Variant('(s)', [stateInterface]), new GLib.VariantType('(a{sv})'),
            Gio.DBusCallFlags.NO_AUTO_START, callTimeoutMs, asking, (conn, result) => {
                if (asking.is_cancelled())
                    return;
                try {
                    const [all] = conn.call_finish(result).recursiveUnpack();
                    // Announcements that came first are newer than nothing, older than this.
                    properties = Object.assign({}, all);
                    answered = true;
                } catch (error) {
                    answered = false;
                }
                show();
            });
    };

    const vanished = () => {
        forget();
        show();
    };

    const activate = () => {
        const [x, y] = button.get_transformed_position();
        const [width, height] = button.get_transformed_size();
        const point = new GLib.Variant('(ii)', [Math.round(x + width / 2), Math.round(y + height)]);
        // Auto-start on: with the app absent the bus starts it, then delivers the click.
        bus.call(busName, objectPath, stateInterface, 'ActivateAt', point, null,
            Gio.DBusCallFlags.NONE, -1, null, (conn, result) => {
                try {
                    conn.call_finish(result);
                } catch (error) {
                    log(`Mireo Pulse: the app did not take the click: ${error.message}`);
                }
            });
    };
    button.connect('button-press-event', () => {
        activate();
        return Clutter.EVENT_STOP;
    });
    button.connect('touch-event', (actor, event) => {
        if (event.type() !== Clutter.EventType.TOUCH_BEGIN)
            return Clutter.EVENT_PROPAGATE;
        activate();
        return Clutter.EVENT_STOP;
    });

    show();
    Main.panel.addToStatusArea('@MIREO_EXECUTABLE@', button, 0, 'right');
    const watch = Gio.bus_watch_name_on_connection(bus, busName, Gio.BusNameWatcherFlags.NONE,
        appeared, vanished);
    const ownership = Gio.bus_own_name_on_connection(bus, titleShownHere,
        Gio.BusNameOwnerFlags.NONE, null, null);

    return {
        destroy() {
            Gio.bus_unown_name(ownership);
            Gio.bus_unwatch_name(watch);
            forget();
            button.destroy();
        },
    };
};
