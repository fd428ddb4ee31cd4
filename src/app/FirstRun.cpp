#include "app/FirstRun.h"

#include "settings/Defaults.h"

namespace firstRun {

bool claim(Defaults &defaults)
{
    const QString key = QString::fromLatin1(onboardedKey);
    if (defaults.boolean(key).value_or(false))
        return false;
    defaults.setBoolean(key, true);
    defaults.sync();
    return true;
}

} // namespace firstRun
