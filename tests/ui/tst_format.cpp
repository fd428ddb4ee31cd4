#include "base/FixedDecimal.h"
#include "ui/Format.h"
#include "ui/PanelSummary.h"

#include <QJsonDocument>
#include <QTest>
#include <clocale>
#include <limits>

using ui::FormatLocale;
using namespace Qt::StringLiterals;
using namespace std::string_view_literals;

namespace {
FormatLocale locale(const char *name)
{
    return {QString::fromLatin1(name), "UTC"};
}
const QDateTime friday(QDate(2025, 3, 7), QTime(14, 30), Qt::UTC);
} // namespace

class TestFormat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Money through ICU in the user's locale; percentages with a point whatever the locale.
    void texts_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *kind, const char *locale,
                            std::optional<double> value, const char *expected) {
            const ui::FormatLocale where{QString::fromLatin1(locale), "UTC"};
            const QLocale previous;
            QLocale::setDefault(QLocale(where.name));
            QTest::newRow(name) << (kind == "money"sv    ? ui::money(value, where)
                                    : kind == "signed"sv ? ui::moneySigned(*value, where)
                                                         : ui::signedPercent(*value))
                                << QString::fromUtf8(expected);
            QLocale::setDefault(previous);
        };
        row("absent", "money", "en_US", std::nullopt, "—");
        row("half to even", "money", "en_US", 1234.5, "$1,234");
        row("negative: dollar sign first", "money", "en_US", -5.0, "$-5");
        // Portuguese groups only from five digits on, with a no-break space.
        row("pt four digits", "money", "pt_PT", 1234.5, "$1234");
        row("pt five digits", "money", "pt_PT", 12345.0, "$12\u00a0345");
        row("negative zero", "signed", "en_US", -0.0, "+$0");
        row("small loss rounds to zero, keeps its sign", "signed", "en_US", -0.4, "-$0");
        row("not a number reads as a loss", "signed", "en_US",
            std::numeric_limits<double>::quiet_NaN(), "-$NaN");
        row("signed, de", "signed", "de_DE", 1204.0, "+$1.204");
        row("binary half rounds as stored", "percent", "de_DE", 12.345, "+12.35%");
        row("tiny loss keeps its minus", "percent", "de_DE", -0.004, "-0.00%");
        row("percent, no grouping", "percent", "de_DE", 1234.5, "+1234.50%");

        // Half to even as stored in binary; neither Qt's locale nor the C library's adds a comma.
        const auto fixed = [](const char *name, double value, int decimals, const char *expected) {
            QLocale::setDefault(QLocale(QLocale::Portuguese, QLocale::Portugal));
            std::setlocale(LC_NUMERIC, "pt_PT.UTF-8"); // may be missing; harmless then
            QTest::newRow(name) << base::fixedDecimal(value, decimals)
                                << QString::fromUtf8(expected);
            std::setlocale(LC_NUMERIC, "C");
            QLocale::setDefault(QLocale::c());
        };
        fixed("fixed: rounds down", 12.345, 1, "12.3");
        fixed("fixed: exact half to even", 0.5, 0, "0");
        fixed("fixed: binary above the half", 0.05, 1, "0.1");
        fixed("fixed: large, no grouping", 1e15, 1, "1000000000000000.0");

        // Rounded to the nearest unit, days counted in the user's time zone.
        const auto phrase = [](const char *name, const char *locale, QByteArray zone,
                               const QDateTime &now, qint64 offsetMs, const char *expected) {
            QTest::newRow(name) << ui::relativePhrase(now.addMSecs(offsetMs), now,
                                                      {QString::fromLatin1(locale), zone})
                                << QString::fromUtf8(expected);
        };
        const QDateTime one(QDate(2025, 3, 7), QTime(1, 0), Qt::UTC);
        const qint64 minute = 60'000, hour = 60 * minute, day = 24 * hour;
        phrase("1 h 35 min ahead", "en_US", "UTC", friday, 95 * minute, "in 2 hours");
        phrase("59.6 s ago is a minute", "en_US", "UTC", friday, -59'600, "1 minute ago");
        phrase("pt minutes", "pt_PT", "UTC", friday, -5 * minute, "há 5 minutos");
        // 01:00 UTC is already 10:00 in Tokyo: days are counted there.
        phrase("tomorrow in Tokyo", "en_US", "Asia/Tokyo", one, day, "tomorrow");

        // Badge prefixes follow the app's language, the phrase the system locale.
        const auto badge = [](const char *name, bool isPT, qint64 ageMs, const char *expected) {
            const ui::Freshness b =
                ui::freshnessBadge(friday.addMSecs(-ageMs), friday, isPT, locale("en_US"));
            QTest::newRow(name) << b.text + (b.live ? u" (live)"_s : QString())
                                << QString::fromUtf8(expected);
        };
        badge("seconds truncate", false, 42'700, "live · 42s (live)");
        badge("90 s is older", false, 90'000, "as of 2 minutes ago");
        badge("pt prefix, en phrase", true, 300'000, "há 5 minutes ago");

        QTest::newRow("clock, de")
            << ui::shortTime(friday, {u"de_DE"_s, "Europe/Berlin"}) << u"15:30"_s;
        QTest::newRow("clock, en") << ui::shortTime(friday, locale("en_US")) << u"2:30\u202fPM"_s;

        // The panel's tool tip.
        const auto summary = [](const char *name, const QByteArray &status, bool isPT,
                                ui::AgeForm form, const char *expected) {
            QTest::newRow(name) << ui::panelSummary(QJsonDocument::fromJson(status).object(),
                                                    friday, isPT, form, locale("en_US"))
                                << QString::fromUtf8(expected);
        };
        const auto relative = ui::AgeForm::Relative;
        const QByteArray signedOut = R"({"title":"M +12.3%","public":{"returnPct":12.345,
            "vsSpyPct":-1.2,"fetchedAt":"2025-03-07T14:29:58.000Z","lastError":null},
            "account":{"signedIn":false,"lastError":null,"accounts":null}})";
        // The age is the older of the two; the offline notice comes before it.
        summary("signed in, public offline", R"({"title":"M -$13","public":{"returnPct":-0.5,
            "vsSpyPct":null,"fetchedAt":"2025-03-07T14:25:00.000Z","lastError":"offline"},
            "account":{"signedIn":true,"lastError":null,"accounts":[{}],
            "portfolioAsOf":"2025-03-07T14:29:00.000Z",
            "totals":{"equity":10512.4,"todayPnl":-12.5,"baseline":10000}}})",
                false, relative,
                "M -$13\nPublic book -0.50%\nYour account $10,512 · -$12 today\noffline · as of "
                "5 minutes ago");
        // A streamed line gives the clock time instead, which stays true.
        summary("clock", signedOut, false, ui::AgeForm::Clock,
                "M +12.3%\nPublic book +12.35% · -1.20% vs S&P 500\nas of 2:29\u202fPM");
        summary("nothing known", "{}", false, relative, "M·\nLoading the public book…");
        summary("no brokerage account, pt", R"({"title":"M·",
            "account":{"signedIn":true,"accounts":[],"lastError":"sessão cancelada"}})",
                true, relative,
                "M·\nA carregar o livro público…\nAinda sem conta de corretora ligada.\nsessão "
                "cancelada");
    }
    void texts()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(text, expected);
    }
};

QTEST_GUILESS_MAIN(TestFormat)
#include "tst_format.moc"
