#include "ui/Format.h"
#include "ui/Palette.h"
#include "ui/PanelSummary.h"

#include <QJsonDocument>
#include <QTest>
#include <cmath>
#include <limits>

using ui::FormatLocale;
using namespace Qt::StringLiterals;

namespace {
FormatLocale locale(const char *name)
{
    return {QString::fromLatin1(name), "UTC"};
}
const QDateTime friday(QDate(2025, 3, 7), QTime(14, 30), Qt::UTC);
} // namespace

Q_DECLARE_METATYPE(std::optional<double>)
Q_DECLARE_METATYPE(ui::AgeForm)

class TestFormat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Money through ICU in the user's locale; percentages always with a point, whatever the
    // locale of the process.
    void numbers_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("locale");
        QTest::addColumn<std::optional<double>>("value");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *kind, const char *locale,
                            std::optional<double> value, const char *expected) {
            QTest::newRow(name) << QString::fromLatin1(kind) << QString::fromLatin1(locale) << value
                                << QString::fromUtf8(expected);
        };
        row("absent", "money", "en_US", std::nullopt, "—");
        row("half to even, down", "money", "en_US", 1234.5, "$1,234");
        row("half to even, up", "money", "en_US", 1235.5, "$1,236");
        row("negative: dollar sign first", "money", "en_US", -5.0, "$-5");
        row("millions", "money", "en_US", 1234567.49, "$1,234,567");
        // Portuguese groups only from five digits on, with a no-break space.
        row("pt four digits", "money", "pt_PT", 1234.5, "$1234");
        row("pt five digits", "money", "pt_PT", 12345.0, "$12\u00a0345");
        row("gain", "signed", "en_US", 1204.0, "+$1,204");
        row("loss", "signed", "en_US", -37.0, "-$37");
        row("negative zero", "signed", "en_US", -0.0, "+$0");
        row("small loss rounds to zero, keeps its sign", "signed", "en_US", -0.4, "-$0");
        row("not a number reads as a loss", "signed", "en_US",
            std::numeric_limits<double>::quiet_NaN(), "-$NaN");
        row("signed, de", "signed", "de_DE", 1204.0, "+$1.204");
        row("percent", "percent", "de_DE", 12.34, "+12.34%");
        row("binary half rounds as stored", "percent", "de_DE", 12.345, "+12.35%");
        row("percent zero", "percent", "de_DE", 0.0, "+0.00%");
        row("tiny loss keeps its minus", "percent", "de_DE", -0.004, "-0.00%");
        row("percent, no grouping", "percent", "de_DE", 1234.5, "+1234.50%");
    }
    void numbers()
    {
        QFETCH(QString, kind);
        QFETCH(QString, locale);
        QFETCH(std::optional<double>, value);
        QFETCH(QString, expected);
        const ui::FormatLocale where{locale, "UTC"};
        const QLocale previous;
        QLocale::setDefault(QLocale(locale));
        const QString text = kind == u"money"    ? ui::money(value, where)
                             : kind == u"signed" ? ui::moneySigned(*value, where)
                                                 : ui::signedPercent(*value);
        QLocale::setDefault(previous);
        QCOMPARE(text, expected);
    }

    // Rounded to the nearest unit, days counted in the user's time zone.
    void relativePhrase_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<qint64>("offsetMs");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *locale, QByteArray zone,
                            const QDateTime &now, qint64 offsetMs, const char *expected) {
            QTest::newRow(name) << QString::fromLatin1(locale) << zone << now << offsetMs
                                << QString::fromUtf8(expected);
        };
        const QDateTime ten(QDate(2025, 3, 7), QTime(10, 0), Qt::UTC);
        const QDateTime one(QDate(2025, 3, 7), QTime(1, 0), Qt::UTC);
        const qint64 minute = 60'000, hour = 60 * minute, day = 24 * hour;
        row("90 s ago rounds up", "en_US", "UTC", friday, -90'000, "2 minutes ago");
        row("23 min 20 s ago rounds down", "en_US", "UTC", friday, -1'400'000, "23 minutes ago");
        row("1 h 35 min ahead", "en_US", "UTC", friday, 95 * minute, "in 2 hours");
        row("same time yesterday", "en_US", "UTC", friday, -day, "yesterday");
        row("0.4 s ago", "en_US", "UTC", friday, -400, "now");
        row("0.6 s ago counts as a second", "en_US", "UTC", friday, -600, "1 second ago");
        row("59.6 s ago is a minute", "en_US", "UTC", friday, -59'600, "1 minute ago");
        row("day after tomorrow counts whole days", "en_US", "UTC", ten, 47 * hour, "in 2 days");
        row("ten days ago is last week", "en_US", "UTC", friday, -10 * day, "last week");
        row("calendar months", "en_US", "UTC", friday, -46 * day, "2 months ago");
        row("pt minutes", "pt_PT", "UTC", friday, -5 * minute, "há 5 minutos");
        // 23:00 UTC on the 6th and 01:00 on the 7th: the same day in Lisbon, two in Tokyo.
        row("late last night is hours", "en_US", "Europe/Lisbon", one, -2 * hour, "2 hours ago");
        row("tomorrow in Tokyo", "en_US", "Asia/Tokyo", one, day, "tomorrow");
    }
    void relativePhrase()
    {
        QFETCH(QString, locale);
        QFETCH(QByteArray, zone);
        QFETCH(QDateTime, now);
        QFETCH(qint64, offsetMs);
        QFETCH(QString, expected);
        QCOMPARE(ui::relativePhrase(now.addMSecs(offsetMs), now, {locale, zone}), expected);
    }

    void freshness_data()
    {
        QTest::addColumn<bool>("isPT");
        QTest::addColumn<qint64>("ageMs"); // how long ago the data is dated
        QTest::addColumn<bool>("live");
        QTest::addColumn<QString>("text");

        QTest::newRow("seconds truncate") << false << qint64(42'700) << true << "live · 42s";
        QTest::newRow("89.9 s") << false << qint64(89'900) << true << "live · 89s";
        QTest::newRow("90 s is older") << false << qint64(90'000) << false << "as of 2 minutes ago";
        QTest::newRow("future shows zero") << false << qint64(-5'000) << true << "live · 0s";
        // The prefix follows the app's language, the phrase the system locale.
        QTest::newRow("pt prefix, en phrase")
            << true << qint64(300'000) << false << "há 5 minutes ago";
    }
    void freshness()
    {
        QFETCH(bool, isPT);
        QFETCH(qint64, ageMs);
        QFETCH(bool, live);
        QFETCH(QString, text);
        const ui::Freshness badge =
            ui::freshnessBadge(friday.addMSecs(-ageMs), friday, isPT, locale("en_US"));
        QCOMPARE(badge.live, live);
        QCOMPARE(badge.text, text);
    }

    // Clock times in the user's zone and locale; zero counts as a gain.
    void shortTimeAndTone()
    {
        QCOMPARE(ui::shortTime(friday, {u"de_DE"_s, "Europe/Berlin"}), u"15:30"_s);
        QCOMPARE(ui::shortTime(friday, locale("en_US")), u"2:30\u202fPM"_s);
        QCOMPARE(ui::toneFor(0.0), ui::Tone::Gain);
        QCOMPARE(ui::toneFor(-0.01), ui::Tone::Loss);
    }

    // The panel's tool tip from status reports, at `friday`, in both languages.
    void panelSummary_data()
    {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<bool>("isPT");
        QTest::addColumn<ui::AgeForm>("form");
        QTest::addColumn<QString>("summary");
        const auto relative = ui::AgeForm::Relative;

        const QByteArray signedOut = R"({"title":"M +12.3%","public":{"returnPct":12.345,
            "vsSpyPct":-1.2,"fetchedAt":"2025-03-07T14:29:58.000Z","lastError":null},
            "account":{"signedIn":false,"lastError":null,"accounts":null}})";
        QTest::newRow("signed out")
            << signedOut << false << relative
            << "M +12.3%\nPublic book +12.35% · -1.20% vs S&P 500\nlive · 2s";
        // The age is the older of the two; the offline notice comes before it.
        const QByteArray offline = R"({"title":"M -$13","public":{"returnPct":-0.5,"vsSpyPct":null,
            "fetchedAt":"2025-03-07T14:25:00.000Z","lastError":"offline"},
            "account":{"signedIn":true,"lastError":null,"accounts":[{}],
            "portfolioAsOf":"2025-03-07T14:29:00.000Z",
            "totals":{"equity":10512.4,"todayPnl":-12.5,"baseline":10000}}})";
        QTest::newRow("signed in, public offline")
            << offline << false << relative
            << "M -$13\nPublic book -0.50%\nYour account $10,512 · -$12 today\noffline · as of "
               "5 minutes ago";
        // A streamed line gives the clock time instead, which stays true.
        QTest::newRow("clock") << signedOut << false << ui::AgeForm::Clock
                               << "M +12.3%\nPublic book +12.35% · -1.20% vs S&P 500\nas of "
                                  "2:29\u202fPM";
        QTest::newRow("nothing known")
            << R"({})"_ba << false << relative << "M·\nLoading the public book…";
        QTest::newRow("no brokerage account, pt") << R"({"title":"M·",
            "account":{"signedIn":true,"accounts":[],"lastError":"sessão cancelada"}})"_ba
                                                  << true << relative
                                                  << "M·\nA carregar o livro público…\nAinda sem "
                                                     "conta de corretora ligada.\nsessão cancelada";
    }
    void panelSummary()
    {
        QFETCH(QByteArray, status);
        QFETCH(bool, isPT);
        QFETCH(ui::AgeForm, form);
        QFETCH(QString, summary);
        const QJsonObject report = QJsonDocument::fromJson(status).object();
        QCOMPARE(ui::panelSummary(report, friday, isPT, form, locale("en_US")), summary);
    }
};

QTEST_GUILESS_MAIN(TestFormat)
#include "tst_format.moc"
