#include "app/FirstRun.h"

#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"

namespace firstRun {

bool claim(Defaults &defaults)
{
    const QString key = settings_keys::onboarded;
    if (defaults.boolean(key).value_or(false))
        return false;
    defaults.setBoolean(key, true);
    defaults.sync();
    return true;
}

} // namespace firstRun
