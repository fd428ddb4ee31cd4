#include "platform/linux/FocusToken.h"

#include <algorithm>

namespace focus_token {

namespace {

constexpr qsizetype maxLength = 512;

QString usable(const QVariant &value)
{
    if (value.metaType().id() != QMetaType::QString)
        return {};
    const QString text = value.toString();
    const bool printable = std::all_of(text.cbegin(), text.cend(), [](QChar c) {
        return c.unicode() > 0x20 && c.unicode() < 0x7f;
    });
    return printable && text.size() <= maxLength ? text : QString();
}

} // namespace

Tokens read(const QVariantMap &platformData)
{
    return {usable(platformData.value(QLatin1StringView(waylandKey))),
            usable(platformData.value(QLatin1StringView(x11Key)))};
}

QVariantMap inherited()
{
    QVariantMap data;
    const auto pass = [&data](const char *key, const char *variable) {
        const QString token = usable(qEnvironmentVariable(variable));
        if (!token.isEmpty())
            data.insert(QLatin1StringView(key), token);
    };
    pass(waylandKey, "XDG_ACTIVATION_TOKEN");
    pass(x11Key, "DESKTOP_STARTUP_ID");
    return data;
}

} // namespace focus_token
