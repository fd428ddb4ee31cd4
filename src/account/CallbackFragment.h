#pragma once

#include <QHash>
#include <QString>
#include <QStringView>
#include <optional>

// The sign-in redirect's fragment as key/value pairs: pieces split on "&" (empty ones dropped),
// each on its first "=" with both sides non-empty, values percent-decoded (the raw text kept
// when that fails), a later key overwriting an earlier one.
QHash<QString, QString> parseCallbackFragment(QStringView encodedFragment);

// Strict percent-decoding: absent for a malformed escape or bytes that are not UTF-8.
std::optional<QString> percentDecoded(QStringView text);
