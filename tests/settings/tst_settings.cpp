#include "settings/AppSettings.h"
#include "settings/L.h"
#include "support/TestSupport.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSettings : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void loadsChoices_data()
    {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QString>("metric");
        QTest::addColumn<QString>("language");

        QTest::newRow("earlier release chose personal")
            << QVariantMap{{"menu.personal", true}} << "pct" << u"system"_s;
        QTest::newRow("newer key wins")
            << QVariantMap{{"menu.metric", "pnl"}, {"menu.personal", true}} << "pnl" << u"system"_s;
        QTest::newRow("unknown values are kept")
            << QVariantMap{{"menu.metric", "weird"}, {"app.language", "PT"}} << "weird" << u"PT"_s;
    }
    void loadsChoices()
    {
        QFETCH(QVariantMap, stored);
        QFETCH(QString, metric);
        QFETCH(QString, language);
        testing::TempDefaults defaults;
        {
            QSettings raw(defaults.path(), QSettings::IniFormat);
            for (auto it = stored.cbegin(); it != stored.cend(); ++it)
                raw.setValue(it.key(), it.value());
        }
        defaults.reopen();
        const AppSettings settings(*defaults);
        QCOMPARE(settings.menuMetric(), metric);
        QCOMPARE(settings.language(), language);
        // Loading migrates nothing: the old key stays the only one until the user picks.
        QVERIFY(!defaults->string(u"menu.metric"_s) || stored.contains("menu.metric"));
    }

    void languageDecision_data()
    {
        QTest::addColumn<QVariant>("stored"); // invalid: absent
        QTest::addColumn<QStringList>("preferred");
        QTest::addColumn<bool>("portuguese");

        const QStringList ptFirst{"pt-PT", "en-US"};
        const QStringList enFirst{"en-US", "pt-PT"};
        QTest::newRow("en overrides a Portuguese system") << QVariant("en") << ptFirst << false;
        QTest::newRow("system follows a Portuguese system")
            << QVariant("system") << ptFirst << true;
        QTest::newRow("only the first preference counts") << QVariant("system") << enFirst << false;
        QTest::newRow("absent follows the system") << QVariant() << ptFirst << true;
        QTest::newRow("bare tag, any case") << QVariant() << QStringList{"PT"} << true;
        QTest::newRow("comparison is case-sensitive") << QVariant("PT") << enFirst << false;
        QTest::newRow("no preferences") << QVariant("system") << QStringList() << false;
    }
    void languageDecision()
    {
        QFETCH(QVariant, stored);
        QFETCH(QStringList, preferred);
        QFETCH(bool, portuguese);
        QCOMPARE(L::decide(stored.isValid() ? std::optional(stored.toString()) : std::nullopt,
                           preferred),
                 portuguese);
    }

    void defaultsKeepTypesAcrossARestart()
    {
        testing::TempDefaults defaults;
        const QDateTime when(QDate(2025, 3, 7), QTime(14, 30, 5, 123), Qt::UTC);
        defaults->setDate(u"d"_s, when);
        defaults->setNumber(u"third"_s, 0.1 + 0.2);
        defaults->setInteger(u"i"_s, 9007199254740993);
        defaults->setData(u"b"_s, QByteArray("{\"a\":1}\n\0x", 11));
        defaults->setString(u"s"_s, u"a, b = c"_s);
        defaults->setNumber(u"gone"_s, 1.0);
        defaults->setNumber(u"gone"_s, std::nullopt);
        defaults.reopen();
        QCOMPARE(defaults->date(u"d"_s), when);
        QCOMPARE(defaults->number(u"third"_s), 0.1 + 0.2);
        QCOMPARE(defaults->integer(u"i"_s), 9007199254740993);
        QCOMPARE(defaults->data(u"b"_s), QByteArray("{\"a\":1}\n\0x", 11));
        QCOMPARE(defaults->string(u"s"_s), u"a, b = c"_s);
        QVERIFY(!defaults->number(u"gone"_s));
        // A value of another type reads as absent, not as a zero.
        QVERIFY(!defaults->date(u"n"_s));
        QVERIFY(!defaults->number(u"s"_s));
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestSettings)
#include "tst_settings.moc"
