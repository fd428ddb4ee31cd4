#include "FuzzCheck.h"
#include "app/Appcast.h"

// The update feed, and the version order it picks the newest release by.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray xml = fuzz::bytes(data, size);
    const std::optional<AppcastRelease> release = parseAppcast(xml);
    const std::optional<AppcastRelease> again = parseAppcast(xml);
    FUZZ_REQUIRE(release.has_value() == again.has_value());
    if (release) {
        FUZZ_REQUIRE(!release->version.isEmpty());
        FUZZ_REQUIRE(release->version == again->version && release->page == again->page);
        FUZZ_REQUIRE(!release->page || release->page->scheme().startsWith(u"http"));
    }

    // The input split in two gives two versions: the order is antisymmetric and reflexive.
    const QString text = QString::fromUtf8(xml);
    const QStringView a = QStringView(text).first(text.size() / 2);
    const QStringView b = QStringView(text).sliced(text.size() / 2);
    FUZZ_REQUIRE(compareVersions(a, a) == 0);
    FUZZ_REQUIRE(compareVersions(a, b) == -compareVersions(b, a));
    return 0;
}
