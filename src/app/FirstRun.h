#pragma once

class Defaults;
class QString;

// The first-run window is shown at most once per user account.
namespace firstRun {

// True exactly once: the first time it is asked on this Defaults file. The mark is written and
// flushed before the caller shows anything, so quitting with the window open does not bring it
// back next time.
bool claim(Defaults &defaults);

// The same for any other thing said once ever, under its own settings key.
bool claimOnce(Defaults &defaults, const QString &key);

} // namespace firstRun
