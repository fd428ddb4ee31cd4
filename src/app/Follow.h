#pragma once

#include "app/Headless.h"

// For status bars that read a stream (waybar, polybar, i3blocks with persist): prints the
// current line at once and again each time it changes, until the process is stopped. While the
// app runs it follows the app's state on the bus and does nothing else; without it, it runs the
// services with their timers as the app does, and yields to an app that starts. Needs a
// QCoreApplication and no display.
int runFollow(HeadlessOutput output);
