#include "app/FirstRun.h"

#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"

namespace firstRun {

bool claim(Defaults &defaults)
{
    return claimOnce(defaults, settings_keys::onboarded);
}

bool claimOnce(Defaults &defaults, const QString &key)
{
    if (defaults.boolean(key).value_or(false))
        return false;
    defaults.setBoolean(key, true);
    defaults.sync();
    return true;
}

} // namespace firstRun
