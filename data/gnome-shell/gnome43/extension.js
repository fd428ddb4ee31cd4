// GNOME Shell 43 and 44: extensions are scripts loaded through `imports`.
const {Clutter, Gio, GLib, St} = imports.gi;
const Main = imports.ui.main;
const PanelMenu = imports.ui.panelMenu;
const Me = imports.misc.extensionUtils.getCurrentExtension();

class PulseExtension {
    enable() {
        this._pulse = Me.imports.pulse.createPulse({Gio, GLib, St, Clutter, Main, PanelMenu});
    }

    disable() {
        this._pulse.destroy();
        this._pulse = null;
    }
}

function init() {
    return new PulseExtension();
}
