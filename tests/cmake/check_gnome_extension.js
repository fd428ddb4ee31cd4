// Parses the extension's sources as each GNOME Shell loads them: the 43 and 44 entry point and
// the shared logic as scripts, the 45 and later entry point with its import and export lines
// set aside (the shell's modules are not here to resolve them). Exits 1 on a syntax error.
const {GLib} = imports.gi;
const dir = ARGV[0];
const read = path => new TextDecoder().decode(GLib.file_get_contents(`${dir}/${path}`)[1]);
const withoutModuleLines = text => text.split('\n')
    .map(line => line.replace(/^import .*$/, '').replace(/^export default /, '')
        .replace(/^export \{.*$/, ''))
    .join('\n');
let failed = false;
for (const [path, text] of [['pulse.js', read('pulse.js')],
    ['gnome43/extension.js', read('gnome43/extension.js')],
    ['gnome45/extension.js', withoutModuleLines(read('gnome45/extension.js'))]]) {
    try {
        new Function(text);
    } catch (error) {
        printerr(`${path}: ${error}`);
        failed = true;
    }
}
imports.system.exit(failed ? 1 : 0);
