// What the applet does, whichever Plasma runs it: the commands it runs and how it reads
// `mireo-pulse --waybar`.
.pragma library

var nothingKnown = "M\u00B7";

// The running app's title and summary, read over the bus by mireo-pulse; nothing at all (no
// request to the service) when the app does not own its bus name.
var poll = "gdbus call --session --timeout 2 --dest org.freedesktop.DBus" +
    " --object-path /org/freedesktop/DBus --method org.freedesktop.DBus.NameHasOwner" +
    " com.mireo.Pulse | grep -q true && timeout 5 mireo-pulse --waybar";

// Starts the app through D-Bus activation when it is not running.
var start = "gdbus call --session --dest org.freedesktop.DBus" +
    " --object-path /org/freedesktop/DBus --method org.freedesktop.DBus.StartServiceByName" +
    " com.mireo.Pulse 0";

// The quick panel; activation starts the app first when it is not running.
var activate = "gdbus call --session --dest com.mireo.Pulse --object-path /com/mireo/Pulse" +
    " --method org.freedesktop.Application.Activate '@a{sv} {}'";

// The popover's colours for signed numbers, light and dark.
var gold = "#d4a843";
function gainColor(dark) { return dark ? Qt.rgba(0.24, 0.85, 0.62, 1) : Qt.rgba(0.00, 0.42, 0.26, 1); }
function lossColor(dark) { return dark ? Qt.rgba(1.00, 0.45, 0.42, 1) : Qt.rgba(0.72, 0.11, 0.11, 1); }

// Dark like the app decides it: a background of lightness under one half.
function isDark(background) { return background.hslLightness < 0.5; }

function blank() {
    return { text: nothingKnown, toolTipTitle: nothingKnown, toolTipBody: "Mireo Pulse",
             classes: [] };
}

// The last line of the command's output as waybar's JSON; anything else reads as nothing known.
// Text and tooltip are escaped markup: shown as styled text, they read as written.
function parse(output) {
    var lines = String(output || "").trim().split("\n");
    var line;
    try {
        line = JSON.parse(lines[lines.length - 1]);
    } catch (error) {
        return blank();
    }
    if (!line || typeof line.text !== "string" || line.text.length === 0)
        return blank();
    var tip = typeof line.tooltip === "string" ? line.tooltip.split("\n") : [line.text];
    return {
        text: line.text,
        toolTipTitle: tip[0],
        toolTipBody: tip.slice(1).join("<br>"),
        classes: Array.isArray(line["class"]) ? line["class"] : []
    };
}
