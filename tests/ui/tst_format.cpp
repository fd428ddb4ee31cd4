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
    void money_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<std::optional<double>>("dollars");
        QTest::addColumn<QString>("expected");

        const std::optional<double> none;
        QTest::newRow("absent") << "en_US" << none << "—";
        QTest::newRow("zero") << "en_US" << std::optional(0.0) << "$0";
        QTest::newRow("half to even, down") << "en_US" << std::optional(1234.5) << "$1,234";
        QTest::newRow("half to even, up") << "en_US" << std::optional(1235.5) << "$1,236";
        QTest::newRow("negative: dollar sign first") << "en_US" << std::optional(-5.0) << "$-5";
        QTest::newRow("millions") << "en_US" << std::optional(1234567.49) << "$1,234,567";
        // Portuguese groups only from five digits on, with a no-break space.
        QTest::newRow("pt four digits") << "pt_PT" << std::optional(1234.5) << "$1234";
        QTest::newRow("pt five digits") << "pt_PT" << std::optional(12345.0) << "$12\u00a0345";
        QTest::newRow("de") << "de_DE" << std::optional(1234.5) << "$1.234";
    }
    void money()
    {
        QFETCH(QString, locale);
        QFETCH(std::optional<double>, dollars);
        QFETCH(QString, expected);
        QCOMPARE(ui::money(dollars, {locale, "UTC"}), expected);
    }

    void moneySigned_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<double>("dollars");
        QTest::addColumn<QString>("expected");

        QTest::newRow("gain") << "en_US" << 1204.0 << "+$1,204";
        QTest::newRow("loss") << "en_US" << -37.0 << "-$37";
        QTest::newRow("zero") << "en_US" << 0.0 << "+$0";
        QTest::newRow("negative zero") << "en_US" << -0.0 << "+$0";
        QTest::newRow("small loss rounds to zero, keeps its sign") << "en_US" << -0.4 << "-$0";
        QTest::newRow("not a number reads as a loss")
            << "en_US" << std::numeric_limits<double>::quiet_NaN() << "-$NaN";
        QTest::newRow("pt") << "pt_PT" << -1234.0 << "-$1234";
        QTest::newRow("de") << "de_DE" << 1204.0 << "+$1.204";
    }
    void moneySigned()
    {
        QFETCH(QString, locale);
        QFETCH(double, dollars);
        QFETCH(QString, expected);
        QCOMPARE(ui::moneySigned(dollars, {locale, "UTC"}), expected);
    }

    void signedPercent_data()
    {
        QTest::addColumn<double>("percent");
        QTest::addColumn<QString>("expected");
        QTest::newRow("gain") << 12.34 << "+12.34%";
        QTest::newRow("binary half rounds as stored") << 12.345 << "+12.35%";
        QTest::newRow("loss") << -0.5 << "-0.50%";
        QTest::newRow("zero") << 0.0 << "+0.00%";
        QTest::newRow("tiny loss keeps its minus") << -0.004 << "-0.00%";
        QTest::newRow("no grouping") << 1234.5 << "+1234.50%";
    }
    void signedPercent()
    {
        QFETCH(double, percent);
        QFETCH(QString, expected);
        const QLocale previous; // the point is always a point
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QCOMPARE(ui::signedPercent(percent), expected);
        QLocale::setDefault(previous);
    }

    void relativePhrase_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QString>("expected");

        const QDateTime ten(QDate(2025, 3, 7), QTime(10, 0), Qt::UTC);
        QTest::newRow("90 s ago rounds up")
            << "en_US" << friday << friday.addSecs(-90) << "2 minutes ago";
        QTest::newRow("23 min 20 s ago rounds down")
            << "en_US" << friday << friday.addSecs(-(23 * 60 + 20)) << "23 minutes ago";
        QTest::newRow("1 h 35 min ahead")
            << "en_US" << friday << friday.addSecs(3600 + 35 * 60) << "in 2 hours";
        QTest::newRow("same time yesterday")
            << "en_US" << friday << friday.addDays(-1) << "yesterday";
        QTest::newRow("0.4 s ago") << "en_US" << friday << friday.addMSecs(-400) << "now";
        QTest::newRow("0.6 s ago counts as a second")
            << "en_US" << friday << friday.addMSecs(-600) << "1 second ago";
        QTest::newRow("59.6 s ago is a minute")
            << "en_US" << friday << friday.addMSecs(-59'600) << "1 minute ago";
        QTest::newRow("day after tomorrow counts whole days")
            << "en_US" << ten << QDateTime(QDate(2025, 3, 9), QTime(9, 0), Qt::UTC) << "in 2 days";
        QTest::newRow("late last night is hours")
            << "en_US" << QDateTime(QDate(2025, 3, 7), QTime(0, 30), Qt::UTC)
            << QDateTime(QDate(2025, 3, 6), QTime(23, 0), Qt::UTC) << "2 hours ago";
        QTest::newRow("ten days ago is last week")
            << "en_US" << friday << friday.addDays(-10) << "last week";
        QTest::newRow("calendar months")
            << "en_US" << friday << QDateTime(QDate(2025, 1, 20), QTime(9, 0), Qt::UTC)
            << "2 months ago";
        QTest::newRow("next month")
            << "en_US" << friday << QDateTime(QDate(2025, 4, 11), QTime(9, 0), Qt::UTC)
            << "next month";
        QTest::newRow("last year")
            << "en_US" << friday << QDateTime(QDate(2024, 2, 2), QTime(9, 0), Qt::UTC)
            << "last year";
        QTest::newRow("pt minutes") << "pt_PT" << friday << friday.addSecs(-300) << "há 5 minutos";
        QTest::newRow("pt yesterday") << "pt_PT" << friday << friday.addDays(-1) << "ontem";
        QTest::newRow("de named day")
            << "de_DE" << ten << QDateTime(QDate(2025, 3, 9), QTime(9, 0), Qt::UTC) << "übermorgen";
    }
    void relativePhrase()
    {
        QFETCH(QString, locale);
        QFETCH(QDateTime, now);
        QFETCH(QDateTime, date);
        QFETCH(QString, expected);
        QCOMPARE(ui::relativePhrase(date, now, {locale, "UTC"}), expected);
    }

    void daysCountInTheUsersTimeZone()
    {
        // 23:30 in Lisbon on the 6th is already the 7th in Tokyo: the same instants are one
        // calendar day apart there, two hours apart in Lisbon.
        const QDateTime now(QDate(2025, 3, 7), QTime(1, 0), Qt::UTC);
        const QDateTime date(QDate(2025, 3, 6), QTime(23, 0), Qt::UTC);
        QCOMPARE(ui::relativePhrase(date, now, {QStringLiteral("en_US"), "Europe/Lisbon"}),
                 QStringLiteral("2 hours ago"));
        QCOMPARE(ui::relativePhrase(now.addDays(1), now, {QStringLiteral("en_US"), "Asia/Tokyo"}),
                 QStringLiteral("tomorrow"));
    }

    void freshness_data()
    {
        QTest::addColumn<bool>("isPT");
        QTest::addColumn<qint64>("ageMs"); // how long ago the data is dated
        QTest::addColumn<bool>("live");
        QTest::addColumn<QString>("text");

        QTest::newRow("just now") << false << qint64(0) << true << "live · 0s";
        QTest::newRow("seconds truncate") << false << qint64(42'700) << true << "live · 42s";
        QTest::newRow("89.9 s") << false << qint64(89'900) << true << "live · 89s";
        QTest::newRow("90 s is older") << false << qint64(90'000) << false << "as of 2 minutes ago";
        QTest::newRow("future shows zero") << false << qint64(-5'000) << true << "live · 0s";
        QTest::newRow("live is the same in Portuguese")
            << true << qint64(3'000) << true << "live · 3s";
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

    void portugueseBadgeKeepsBothSources()
    {
        // Prefix and phrase are simply joined, even when both say "há".
        QCOMPARE(ui::freshnessBadge(friday.addSecs(-300), friday, true, locale("pt_PT")).text,
                 QStringLiteral("há há 5 minutos"));
    }

    void shortTime_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QString>("expected");
        QTest::newRow("en") << "en_US" << QByteArray("UTC") << "2:30\u202fPM";
        QTest::newRow("pt") << "pt_PT" << QByteArray("UTC") << "14:30";
        QTest::newRow("in the user's zone") << "de_DE" << QByteArray("Europe/Berlin") << "15:30";
    }
    void shortTime()
    {
        QFETCH(QString, locale);
        QFETCH(QByteArray, zone);
        QFETCH(QString, expected);
        QCOMPARE(ui::shortTime(friday, {locale, zone}), expected);
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
        QTest::newRow("signed in, public offline, pt")
            << offline << true << relative
            << "M -$13\nLivro público -0.50%\nA tua conta $10,512 · -$12 hoje\noffline · há 5 "
               "minutes ago";
        // A streamed line gives the clock time instead, which stays true.
        QTest::newRow("clock") << signedOut << false << ui::AgeForm::Clock
                               << "M +12.3%\nPublic book +12.35% · -1.20% vs S&P 500\nas of "
                                  "2:29\u202fPM";
        QTest::newRow("clock, pt") << offline << true << ui::AgeForm::Clock
                                   << "M -$13\nLivro público -0.50%\nA tua conta $10,512 · -$12 "
                                      "hoje\noffline · às 2:25\u202fPM";
        QTest::newRow("nothing known")
            << R"({})"_ba << false << relative << "M·\nLoading the public book…";
        QTest::newRow("account loading")
            << R"({"title":"M·","public":{"lastError":"offline"},
            "account":{"signedIn":true,"accounts":null}})"_ba
            << false << relative << "M·\noffline\nLoading your account…";
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

    // Zero counts as a gain, in either palette.
    void tones()
    {
        for (const QColor &window : {QColor(Qt::white), QColor(30, 30, 30)}) {
            QPalette palette;
            palette.setColor(QPalette::Window, window);
            QCOMPARE(ui::colorFor(ui::toneFor(0.0), palette), ui::mireoGain(palette));
            QCOMPARE(ui::colorFor(ui::toneFor(-0.01), palette), ui::mireoLoss(palette));
        }
    }
};

QTEST_GUILESS_MAIN(TestFormat)
#include "tst_format.moc"
