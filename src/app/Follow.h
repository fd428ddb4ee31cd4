#pragma once

#include "app/Headless.h"

// For status bars that read a stream (waybar, i3blocks with persist): runs the services with
// their timers as the app does, prints the current line at once and again each time it changes.
// Needs a QCoreApplication and no display; runs until the process is stopped.
int runFollow(HeadlessOutput output);
