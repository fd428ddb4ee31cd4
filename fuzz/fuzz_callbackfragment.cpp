#include "FuzzCheck.h"
#include "account/CallbackFragment.h"

#include <QUrl>

// The sign-in redirect's fragment, and the percent-decoding under it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(fuzz::bytes(data, size));
    const QHash<QString, QString> values = parseCallbackFragment(text);
    FUZZ_REQUIRE(values == parseCallbackFragment(text));
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        FUZZ_REQUIRE(!it.key().isEmpty() && !it.value().isEmpty());
        FUZZ_REQUIRE(!it.key().contains(u'&'));
    }

    // What decodes, encodes back to something that decodes to the same text.
    if (const std::optional<QString> decoded = percentDecoded(text)) {
        const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(*decoded));
        FUZZ_REQUIRE(percentDecoded(encoded) == decoded);
    }
    // Plain text without escapes decodes to itself.
    if (!text.contains(u'%'))
        FUZZ_REQUIRE(percentDecoded(text) == text);
    return 0;
}
