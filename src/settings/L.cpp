#include "settings/L.h"

#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"

#include <QLocale>

namespace L {

bool decide(const std::optional<QString> &storedLanguage, const QStringList &preferredLanguages)
{
    if (storedLanguage == QLatin1String("en"))
        return false;
    if (storedLanguage == QLatin1String("pt"))
        return true;
    return !preferredLanguages.isEmpty() &&
           preferredLanguages.first().toLower().startsWith(QLatin1String("pt"));
}

bool isPT()
{
    return decide(Defaults::shared().string(settings_keys::language),
                  QLocale::system().uiLanguages());
}

} // namespace L
