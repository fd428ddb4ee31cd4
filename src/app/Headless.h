#pragma once

#include "account/AuthStore.h"

enum class HeadlessOutput { Title, StatusJson };

// For status bars, scripts and tests: builds the services as the app does, waits until the
// first public refresh (statistics included) and the session restore (account load included)
// have finished, prints, persists and returns the exit code. Needs a QCoreApplication and no
// display.
int runHeadless(HeadlessOutput output);

// The endpoints this build talks to.
AuthStore::Endpoints builtInEndpoints();
