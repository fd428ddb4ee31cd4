#pragma once

// `mireo-pulse --render-popover FILE.png` and `--render-onboarding FILE.png`: start exactly as
// --status-json does, then draw the popover's or the first-run window's content as it would
// show now, offscreen, into a PNG. For screenshots, documentation and visual checks.

// True when the command line asks for a render; the caller then hands over to runRenderCommand
// before creating any application object.
bool isRenderCommand(int argc, char *argv[]);

// Creates its own (offscreen) application; returns the exit code.
int runRenderCommand(int argc, char *argv[]);
