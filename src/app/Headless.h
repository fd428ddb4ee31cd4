#pragma once

#include "account/AuthStore.h"
#include "app/AppCore.h"
#include "app/DesktopBrowser.h"
#include "platform/linux/FreedesktopNotifier.h"
#include "platform/linux/KeychainProcessStore.h"
#include "platform/linux/PulseBusClient.h"

#include <functional>

enum class HeadlessOutput { Title, StatusJson, Waybar };

// For status bars, scripts and tests. While the app runs, reads its state from the bus and
// prints it (or "M·" when it does not answer in time): no request, no keychain, no settings
// written. Otherwise builds the services as the
// app does, waits until the first public refresh (statistics included) and the session restore
// (account load included) have finished, prints and persists. Returns the exit code. Needs a
// QCoreApplication and no display.
int runHeadless(HeadlessOutput output);

// The endpoints this build talks to.
AuthStore::Endpoints builtInEndpoints();

// The services as the app builds them, for the surfaces without a window.
struct HeadlessServices
{
    HeadlessServices();
    KeychainProcessStore secrets;
    DesktopBrowser browser;
    FreedesktopNotifier notifier;
    AppCore core;
};

// Calls `then` once both the first public refresh (statistics included) and the session
// restore (account load included) have finished.
void afterFirstLoad(AppCore &core, std::function<void()> then);

// What the bus shows for these services (see panelState), in the app's language.
pulse_bus::State currentPanelState(AppCore &core);
// What the surfaces print (the title, the status JSON or waybar's line), from the panel state,
// wherever it came from.
QByteArray surfaceLine(HeadlessOutput output, const pulse_bus::State &state);
QByteArray headlessLine(HeadlessOutput output, AppCore &core);
// What a surface shows while the app it reads has not answered.
QByteArray unansweredLine(HeadlessOutput output);
void printLine(const QByteArray &line);
