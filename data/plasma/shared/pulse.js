// What the applet does, whichever Plasma runs it: the commands it runs and how it reads the
// app's properties. The app decides the title, its tone, whether it is stale and the tool tip;
// the applet only shows them. The install fills in the app's names (cmake/AppNames.cmake).
.pragma library

var nothingKnown = "M\u00B7";
var service = "@MIREO_BUS_NAME@";
var path = "@MIREO_OBJECT_PATH@";
var stateInterface = "@MIREO_STATE_INTERFACE@";

// Starts the app through D-Bus activation when it is not running.
var start = "gdbus call --session --dest org.freedesktop.DBus" +
    " --object-path /org/freedesktop/DBus --method org.freedesktop.DBus.StartServiceByName" +
    " " + service + " 0";

// The quick panel; activation starts the app first when it is not running.
var activate = "gdbus call --session --dest " + service + " --object-path " + path +
    " --method org.freedesktop.Application.Activate '@a{sv} {}'";

// Plasma 5's one read every two seconds, one light process each: who owns the name while no one
// is known, then the owner's properties. A unique name is never activated, so reading never
// starts an app the user quit. The shell Plasma runs it with becomes gdbus (exec), and gdbus
// prints in the locale's charset: UTF-8 keeps the "·".
function readCommand(owner) {
    var gdbus = "exec env LC_ALL=C.UTF-8 gdbus call --session --timeout 2 --dest ";
    if (!owner)
        return gdbus + "org.freedesktop.DBus --object-path /org/freedesktop/DBus" +
            " --method org.freedesktop.DBus.GetNameOwner " + service;
    return gdbus + owner + " --object-path " + path +
        " --method org.freedesktop.DBus.Properties.GetAll " + stateInterface;
}

// The owner in GetNameOwner's answer ("(':1.42',)"), or "".
function ownerIn(output) {
    var match = /^\('(:[0-9.]+)',\)$/.exec(String(output || "").trim());
    return match ? match[1] : "";
}

// One quoted string of GVariant's text form, from its opening quote: [text, index after it].
function gvariantString(text, at) {
    var quote = text[at];
    var out = "";
    var escapes = { "n": "\n", "t": "\t", "r": "\r", "b": "\b", "f": "\f", "v": "\v", "a": "\x07" };
    for (var i = at + 1; i < text.length; ++i) {
        var c = text[i];
        if (c === quote)
            return [out, i + 1];
        if (c !== "\\") {
            out += c;
            continue;
        }
        var next = text[++i];
        if (next === "u" || next === "U") {
            var digits = next === "u" ? 4 : 8;
            out += String.fromCodePoint(parseInt(text.substr(i + 1, digits), 16));
            i += digits;
        } else {
            out += escapes[next] !== undefined ? escapes[next] : next;
        }
    }
    return null;
}

// GetAll's answer as gdbus prints it ("({'Title': <'M +1.0%'>, 'Stale': <false>, ...},)"), as
// a map of the strings and booleans it holds; null when it is not one.
function propertiesIn(output) {
    var text = String(output || "").trim();
    if (text.indexOf("({") !== 0)
        return null;
    var properties = {};
    var at = 2;
    while (at < text.length) {
        var key = gvariantString(text, text.indexOf("'", at));
        if (!key)
            break;
        at = text.indexOf("<", key[1]) + 1;
        if (at === 0)
            break;
        if (text[at] === "'" || text[at] === "\"") {
            var value = gvariantString(text, at);
            if (!value)
                return null;
            properties[key[0]] = value[0];
            at = value[1];
        } else {
            properties[key[0]] = text.substr(at, 4) === "true";
        }
        at = text.indexOf(">", at) + 1;
        if (at === 0 || text[at] !== ",")
            break;
    }
    return typeof properties.Title === "string" ? properties : null;
}

// Plasma 6's D-Bus module hands values over wrapped, with the value inside.
function plainValues(wrapped) {
    var properties = {};
    for (var key in wrapped) {
        var value = wrapped[key];
        properties[key] = value !== null && typeof value === "object" && value.value !== undefined
            ? value.value : value;
    }
    return typeof properties.Title === "string" ? properties : null;
}

function escaped(text) {
    return String(text).replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;");
}

// The popover's colours for signed numbers, light and dark.
var gold = "#d4a843";
function gainColor(dark) { return dark ? Qt.rgba(0.24, 0.85, 0.62, 1) : Qt.rgba(0.00, 0.42, 0.26, 1); }
function lossColor(dark) { return dark ? Qt.rgba(1.00, 0.45, 0.42, 1) : Qt.rgba(0.72, 0.11, 0.11, 1); }

// Dark like the app decides it: a background of lightness under one half.
function isDark(background) { return background.hslLightness < 0.5; }
