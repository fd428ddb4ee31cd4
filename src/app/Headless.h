#pragma once

enum class HeadlessOutput { Title, StatusJson };

// For status bars, scripts and tests: builds the services as the app does, waits until the
// first public refresh (statistics included) has finished, prints, persists and returns the
// exit code. Needs a QCoreApplication and no display.
int runHeadless(HeadlessOutput output);
