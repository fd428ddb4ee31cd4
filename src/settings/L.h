#pragma once

#include <QString>
#include <QStringList>
#include <optional>

// Every user-visible text is an English/Portuguese pair, chosen when the text is produced.
namespace L {

// True when texts should be Portuguese. Reads "app.language" afresh on every call, so a
// value just written counts at once.
bool isPT();

// The rule itself: "en" and "pt" decide; anything else defers to the first preferred language.
bool decide(const std::optional<QString> &storedLanguage, const QStringList &preferredLanguages);

// The pair, picked now.
inline QString text(const char *english, const char *portuguese)
{
    return QString::fromUtf8(isPT() ? portuguese : english);
}

} // namespace L
