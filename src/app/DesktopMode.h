#pragma once

// True when the command line asks for no window: the headless surfaces, the settings options,
// help, version or a render.
bool isHeadlessCommand(int argc, char *argv[]);

// The desktop app. A second launch hands its URL (or, without one, a quick-panel toggle) to the
// running app and exits 0.
int runDesktop(int argc, char *argv[]);
