#include "settings/AppSettings.h"
#include "settings/Defaults.h"
#include "ui/MenuInputs.h"
#include "ui/OnboardingView.h"
#include "ui/Palette.h"
#include "ui/PulseMenuSections.h"
#include "ui/RenderPng.h"
#include "ui/SparklineView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using namespace testing;

Q_DECLARE_METATYPE(ui::PulseMenuInput)

namespace {

// Screenshots for people to look at, next to the test binary.
QString artifact(const QString &name)
{
    const QString dir = QStringLiteral(QT_TESTCASE_BUILDDIR "/artifacts");
    QDir().mkpath(dir);
    return dir + u'/' + name + QStringLiteral(".png");
}

QString describe(const QWidget *widget)
{
    QString text;
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        text = label->text();
    else if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
        text = button->text();
    return QString::fromLatin1(widget->metaObject()->className()) + u' ' + widget->objectName() +
           QStringLiteral(" \"") + text + u'"';
}

// What a widget needs to show all of itself.
QSize needed(const QWidget *widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(widget); label && label->wordWrap())
        return {0, label->heightForWidth(label->width())};
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        return label->sizeHint();
    if (qobject_cast<const QAbstractButton *>(widget))
        return widget->minimumSizeHint();
    return widget->minimumSizeHint().expandedTo(QSize(0, 0));
}

// Every visible leaf lies inside `area`, has the room it needs, and touches no other leaf.
QStringList layoutProblems(QWidget &root, const QRect &area)
{
    QList<QWidget *> leaves;
    for (QWidget *widget : root.findChildren<QWidget *>()) {
        if (widget->isWindow() || !widget->isVisibleTo(&root))
            continue;
        const QList<QWidget *> children =
            widget->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
        if (std::none_of(children.cbegin(), children.cend(),
                         [&root](QWidget *c) { return !c->isWindow() && c->isVisibleTo(&root); }))
            leaves.append(widget);
    }
    QStringList problems;
    QList<QRect> placed;
    for (QWidget *leaf : leaves) {
        // What it draws in: margins that keep it to the column do not count.
        const QRect drawn = leaf->contentsRect();
        QRect rect(leaf->mapTo(&root, drawn.topLeft()), drawn.size());
        // The chart's frame keeps to the column; only its ink may spill past it.
        if (qobject_cast<ui::SparklineView *>(leaf))
            rect = rect.marginsRemoved(
                QMargins(ui::SparklineView::inkMargin, ui::SparklineView::inkMargin,
                         ui::SparklineView::inkMargin, ui::SparklineView::inkMargin));
        if (!area.contains(rect))
            problems << describe(leaf) + QStringLiteral(" leaves the column");
        const QSize need = needed(leaf);
        if (leaf->width() < need.width() || leaf->height() < need.height())
            problems << describe(leaf) + QStringLiteral(" is clipped");
        placed.append(rect);
    }
    for (qsizetype i = 0; i < leaves.size(); ++i)
        for (qsizetype j = i + 1; j < leaves.size(); ++j)
            if (placed[i].intersects(placed[j]))
                problems << describe(leaves[i]) + QStringLiteral(" overlaps ") +
                                describe(leaves[j]);
    return problems;
}

ui::PulseMenuInput inPortuguese(ui::PulseMenuInput in)
{
    in.isPT = true;
    in.language = QStringLiteral("pt");
    in.locale = {QStringLiteral("pt_PT"), "UTC"};
    return in;
}

} // namespace

class TestUiArtifacts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void popoverStates_data()
    {
        QTest::addColumn<ui::PulseMenuInput>("input");
        const auto rich = [](ui::PulseMenuInput &in) {
            in.portfolio->totals = Totals{1234567.0, -1204.0, 1300000.0};
            in.todayDecision = TodayDecision{"d", {"NVDA", "AAPL", "MSFT", "AMZN", "GOOGL"}};
            in.canCheckUpdates = true;
        };
        const QList<std::pair<const char *, ui::PulseMenuInput>> states{
            {"signed-out", signedOut()},
            {"loading", with(signedOut(), [](auto &in) { in.isSignedIn = true; })},
            {"no-brokerage", with(withAccount(), [](auto &in) { in.portfolio->accounts.clear(); })},
            {"positions-8", with(withAccount(8), rich)},
            {"kill-switch",
             with(withAccount(), [](auto &in) { in.portfolio->worker->killSwitch = true; })},
            {"auto-on", with(withAccount(2),
                             [](auto &in) {
                                 in.todayDecision = TodayDecision{"d", {}};
                             })},
            {"observer", with(withAccount(1),
                              [](auto &in) {
                                  in.portfolio->worker->autoExecuteEnabled = false;
                                  in.todayDecision = TodayDecision{"d", {"AAPL"}};
                                  in.portfolioAsOf = menuNow.addSecs(-3 * 3600);
                              })},
            {"public-no-return", with(signedOut(), [](auto &in) { in.returnPct.reset(); })},
            {"error-lines",
             with(withAccount(),
                  [](auto &in) {
                      in.accountError = QStringLiteral(
                          "offline — account data may be stale, and this line is long enough "
                          "to wrap onto a second line");
                      in.pulseError = QStringLiteral("offline — showing last known numbers");
                      in.returnPct = -4.56;
                  })},
            {"error-no-return", with(signedOut(),
                                     [](auto &in) {
                                         in.returnPct.reset();
                                         in.accountError = QStringLiteral("offline — try again");
                                         in.pulseError =
                                             QStringLiteral("offline — showing last known numbers");
                                     })},
        };
        for (const auto &[name, input] : states) {
            QTest::addRow("%s-en", name) << input;
            QTest::addRow("%s-pt", name) << inPortuguese(input);
        }
    }
    void popoverStates()
    {
        QFETCH(ui::PulseMenuInput, input);
        QWidget host;
        auto *box = new QVBoxLayout(&host);
        // As the view does: the built column reaches into the side padding by its spill.
        box->setContentsMargins(ui::menuPadding - ui::menuSpill, ui::menuPadding,
                                ui::menuPadding - ui::menuSpill, ui::menuPadding);
        box->setSizeConstraint(QLayout::SetFixedSize);
        box->addWidget(ui::buildPulseMenu(ui::pulseMenuModel(input), {}).content);
        QVERIFY(ui::renderWidgetToPng(
            host,
            artifact(QStringLiteral("popover-") + QString::fromLatin1(QTest::currentDataTag()))));

        QCOMPARE(host.width(), ui::menuContentWidth + 2 * ui::menuPadding);
        const QRect column = host.rect().marginsRemoved(
            QMargins(ui::menuPadding, ui::menuPadding, ui::menuPadding, ui::menuPadding));
        const QStringList problems = layoutProblems(host, column);
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
    }

    void darkPaletteRecoloursWithoutRebuilding()
    {
        QWidget host;
        auto *box = new QVBoxLayout(&host);
        box->addWidget(ui::buildPulseMenu(ui::pulseMenuModel(withAccount(3)), {}).content);
        // Renders the same widgets under another palette; true when `colour` shows anywhere.
        const auto render = [&host](const QColor &window, const QColor &text, const QString &name) {
            QPalette palette = host.palette();
            palette.setColor(QPalette::Window, window);
            palette.setColor(QPalette::WindowText, text);
            host.setPalette(palette);
            ui::renderWidgetToPng(host, artifact(name));
            return std::make_pair(QImage(artifact(name)), palette);
        };
        const auto hasColour = [](const QImage &image, const QColor &colour) {
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    if (image.pixelColor(x, y).rgb() == colour.rgb())
                        return true;
            return false;
        };
        const auto [before, light] = render(Qt::white, Qt::black, QStringLiteral("popover-light"));
        const auto [after, dark] =
            render(QColor(30, 30, 30), Qt::white, QStringLiteral("popover-dark"));
        QVERIFY(hasColour(before, ui::mireoGain(light)));
        QVERIFY(!hasColour(before, ui::mireoGain(dark)));
        QVERIFY(hasColour(after, ui::mireoGain(dark)));
        QVERIFY(hasColour(after, ui::mireoLoss(dark)));
        QVERIFY(!hasColour(after, ui::mireoGain(light)));
    }

    void positionRowsOpenThePortfolio()
    {
        int opened = 0;
        ui::MenuActions actions;
        actions.openPortfolio = [&opened] { ++opened; };
        std::unique_ptr<QWidget> content(
            ui::buildPulseMenu(ui::pulseMenuModel(withAccount(3)), actions).content);
        const auto rows = content->findChildren<QAbstractButton *>(QStringLiteral("positionRow"));
        QCOMPARE(rows.size(), 3);
        rows[1]->click();
        QCOMPARE(opened, 1);
    }

    void onboarding_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("signIn");
        QTest::newRow("en") << "en" << QStringLiteral("Sign in with Mireo");
        QTest::newRow("pt") << "pt" << QStringLiteral("Iniciar sessão na Mireo");
    }
    void onboarding()
    {
        QFETCH(QString, language);
        QFETCH(QString, signIn);
        AppSettings settings(Defaults::shared());
        settings.setLanguage(language);
        ui::OnboardingView view(settings);
        QVERIFY(ui::renderWidgetToPng(view, artifact(QStringLiteral("onboarding-") + language)));
        QCOMPARE(view.width(), 420);
        QCOMPARE(view.findChild<QPushButton *>(QStringLiteral("signIn"))->text(), signIn);
        const QStringList problems =
            layoutProblems(view, view.rect().marginsRemoved({26, 26, 26, 26}));
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
        // The long Portuguese steps wrap rather than run out.
        for (int step = 1; step <= 3; ++step) {
            const auto *label = view.findChild<QLabel *>(QStringLiteral("step%1").arg(step));
            QVERIFY(label->wordWrap());
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
        }
    }
};

int main(int argc, char *argv[])
{
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    QApplication app(argc, argv);
    TestUiArtifacts test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_uiartifacts.moc"
