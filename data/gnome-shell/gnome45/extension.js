// GNOME Shell 45 and later: extensions are ES modules.
import Clutter from 'gi://Clutter';
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import St from 'gi://St';
import * as Main from 'resource:///org/gnome/shell/ui/main.js';
import * as PanelMenu from 'resource:///org/gnome/shell/ui/panelMenu.js';
import {Extension} from 'resource:///org/gnome/shell/extensions/extension.js';

import {createPulse} from './pulse.js';

export default class PulseExtension extends Extension {
    enable() {
        this._pulse = createPulse({Gio, GLib, St, Clutter, Main, PanelMenu});
    }

    disable() {
        this._pulse.destroy();
        this._pulse = null;
    }
}
