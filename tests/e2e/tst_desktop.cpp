#include "MappedWindows.h"
#include "notify/NotificationServerDouble.h"
#include "support/PrivateKeyring.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRun.h"
#include "support/SniWatcher.h"
#include "support/StandinFixture.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <array>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {
testing::PrivateXServer *xServer = nullptr;

const QString itemPath = u"/StatusNotifierItem"_s;
const QString itemInterface = u"org.kde.StatusNotifierItem"_s;
const QRegularExpression publicTitle(u"^M [+-]\\d+\\.\\d%$"_s);
const QRegularExpression pnlTitle(u"^M [+-]\\$[\\d,]+$"_s);

QString describe(const QList<testing::MappedWindow> &windows)
{
    QStringList parts;
    for (const testing::MappedWindow &w : windows)
        parts << u"\"%1\" %2x%3+%4+%5"_s.arg(w.name)
                     .arg(w.frame.width())
                     .arg(w.frame.height())
                     .arg(w.frame.x())
                     .arg(w.frame.y());
    return parts.join(u"; "_s);
}
} // namespace

// The real binary in desktop mode on a private X server and session bus, against the in-process
// stand-in: the panel item and its label, the popover, the quick panel and its hot key, the
// first-run window, sign-in over the bus, status-bar surfaces beside the app, two launches at
// once, and notifications from the account poll.
class TestDesktop : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring; // the session bus, with a keychain on it
    std::unique_ptr<SniWatcher> m_watcher;
    testing::NotificationServerDouble m_notifications;
    testing::StandinFixture m_standin;
    QTemporaryDir m_home;
    std::unique_ptr<QProcess> m_app;
    QString m_item;    // the bus name of the app's panel item
    QProcess m_follow; // a status bar's `--follow` beside the app
    QByteArray m_followed;

    QString dir(const QString &name) const { return m_home.filePath(name); }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = m_keyring.environment();
        env.insert(u"DISPLAY"_s, QString::fromLatin1(xServer->display()));
        env.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        env.insert(u"XDG_CONFIG_HOME"_s, dir(u"config"_s));
        env.insert(u"XDG_DATA_HOME"_s, dir(u"data"_s));
        env.insert(u"XDG_RUNTIME_DIR"_s, dir(u"runtime"_s));
        env.insert(u"MIREO_SITE_URL"_s, m_standin.url().toString());
        env.insert(u"MIREO_SUPABASE_URL"_s, m_standin.url().toString());
        env.insert(u"MIREO_POLL_INTERVAL_MS"_s, u"200"_s);
        return env;
    }

    testing::ProcessRun run(const QString &program, const QStringList &arguments)
    {
        return testing::runToEnd(program, arguments, environment());
    }
    testing::ProcessRun runApp(const QStringList &arguments)
    {
        return run(QStringLiteral(MIREO_PULSE_BINARY), arguments);
    }
    bool press(const QString &keys)
    {
        return run(u"xdotool"_s, QStringList{u"key"_s, u"--delay"_s, u"30"_s} + keys.split(u' '))
                   .exitCode == 0;
    }
    QList<testing::MappedWindow> windows() const
    {
        return testing::mappedWindows(xServer->display());
    }
    void screenshot(const QString &name)
    {
        const QString dir = QStringLiteral(QT_TESTCASE_BUILDDIR "/artifacts");
        QDir().mkpath(dir);
        const QString path = dir + u'/' + name;
        QCOMPARE(run(u"import"_s, {u"-window"_s, u"root"_s, path}).exitCode, 0);
        qInfo("screenshot: %s", qPrintable(path));
    }

    // Calls into the app without blocking our event loop: the app may be calling us meanwhile
    // (the stand-in, the notification server).
    static QDBusMessage call(QDBusMessage message, const QVariantList &arguments)
    {
        message.setArguments(arguments);
        QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(message, 10000);
        if (!QTest::qWaitFor([&] { return pending.isFinished(); }, 12000))
            return {};
        return pending.reply();
    }
    QDBusMessage callItem(const QString &interface, const QString &method,
                          const QVariantList &arguments)
    {
        return call(QDBusMessage::createMethodCall(m_item, itemPath, interface, method), arguments);
    }
    QString label()
    {
        const QDBusMessage reply = callItem(u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                                            {itemInterface, u"XAyatanaLabel"_s});
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
            return QString();
        return qvariant_cast<QDBusVariant>(reply.arguments().constFirst()).variant().toString();
    }
    bool activate(int x, int y)
    {
        return callItem(itemInterface, u"Activate"_s, {x, y}).type() == QDBusMessage::ReplyMessage;
    }

    // Starts the app and waits for its item to register; the registration's bus name is kept.
    void launch()
    {
        QSignalSpy registered(m_watcher.get(), &SniWatcher::itemRegistered);
        m_app = std::make_unique<QProcess>();
        m_app->setProcessEnvironment(environment());
        m_app->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_app->start(QStringLiteral(MIREO_PULSE_BINARY), QStringList());
        QVERIFY(m_app->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(!registered.isEmpty(), 20000);
        m_item = registered.constFirst().constFirst().toString();
    }
    void quit()
    {
        if (!m_app)
            return;
        m_app->terminate();
        if (!QTest::qWaitFor([this] { return m_app->state() == QProcess::NotRunning; }, 10000))
            m_app->kill();
        m_app->waitForFinished();
        m_app.reset();
    }
    QByteArray settingsFile() const
    {
        QFile file(dir(u"config/mireo/pulse.conf"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    int trafficTo(const QString &path) const
    {
        int count = 0;
        for (const auto &request : m_standin.server.requests())
            count += request.path == path;
        return count;
    }
    // Each refresh token the app and its surfaces presented, in order.
    QStringList presentedRefreshTokens() const
    {
        QStringList tokens;
        for (const auto &request : m_standin.server.requests()) {
            if (request.path == u"/auth/v1/token")
                tokens << QJsonDocument::fromJson(request.body)[u"refresh_token"_s].toString();
        }
        return tokens;
    }
    // A backend that rotates refresh tokens refuses one presented twice: the session would end.
    void verifyNoTokenPresentedTwice() const
    {
        const QStringList tokens = presentedRefreshTokens();
        QCOMPARE(QSet<QString>(tokens.cbegin(), tokens.cend()).size(), tokens.size());
    }
    QDBusMessage callApp(const QString &method, const QVariantList &arguments)
    {
        return call(QDBusMessage::createMethodCall(u"com.mireo.Pulse"_s, u"/com/mireo/Pulse"_s,
                                                   u"org.freedesktop.Application"_s, method),
                    arguments);
    }
    QList<QByteArray> followedLines() const { return m_followed.split('\n'); }

    // Waits until the app has run `polls` more account polls (each ends with the trades call).
    void waitForPolls(int polls)
    {
        const int seen = trafficTo(u"/api/mobile/trades"_s);
        QTRY_VERIFY_WITH_TIMEOUT(trafficTo(u"/api/mobile/trades"_s) >= seen + polls, 20000);
    }

    // --- Desktop fidelity (issue 15): helpers -------------------------------------------------

    // Where controls sit in the pulse view, from its top-left corner (the column is laid out in
    // fixed points, the texts in the test's fonts); the footer's rows count from the bottom.
    static constexpr QPoint autoButtonAt{335, 45}; // "Pause" or "Enable"
    static constexpr QPoint headerGapAt{150, 12};  // the header's empty middle: background
    static constexpr int signOutX = 288, refreshX = 119, signOutFromBottom = 80;
    static constexpr int metricPickerX = 130, metricPickerFromBottom = 53;
    static constexpr int popoverBorder = 1;

    bool click(QPoint at)
    {
        return run(u"xdotool"_s, {u"mousemove"_s, QString::number(at.x()), QString::number(at.y()),
                                  u"click"_s, u"1"_s})
                   .exitCode == 0;
    }
    bool drag(QPoint from, QPoint to)
    {
        QStringList steps{u"mousemove"_s, QString::number(from.x()), QString::number(from.y()),
                          u"mousedown"_s, u"1"_s};
        for (int i = 1; i <= 5; ++i) {
            const QPoint at = from + (to - from) * i / 5;
            steps << u"sleep"_s << u"0.05"_s << u"mousemove"_s << QString::number(at.x())
                  << QString::number(at.y());
        }
        steps << u"sleep"_s << u"0.05"_s << u"mouseup"_s << u"1"_s;
        return run(u"xdotool"_s, steps).exitCode == 0;
    }
    // The one window that `before` did not have, once it is there.
    std::optional<testing::MappedWindow>
    waitForNewWindow(const QList<testing::MappedWindow> &before)
    {
        if (!QTest::qWaitFor([&] { return testing::newWindows(before, windows()).size() == 1; },
                             10000))
            return std::nullopt;
        return testing::newWindows(before, windows()).constFirst();
    }
    bool stillMapped(const testing::MappedWindow &window)
    {
        const QList<testing::MappedWindow> now = windows();
        return std::any_of(now.cbegin(), now.cend(),
                           [&](const testing::MappedWindow &w) { return w.id == window.id; });
    }
    QJsonObject statusJson()
    {
        return QJsonDocument::fromJson(runApp({u"--status-json"_s}).out).object();
    }
    std::optional<bool> autoOnInApp()
    {
        const QJsonValue worker = statusJson()[u"account"_s][u"worker"_s];
        if (!worker.isObject())
            return std::nullopt;
        return worker[u"autoExecuteEnabled"_s].toBool();
    }
    int autoExecutionRequests() const { return trafficTo(u"/api/mobile/auto-execution"_s); }
    // The app runs, signed in, its account loaded with the kill switch off and
    // auto-execution as `autoOn`.
    void ensureSignedIn(bool autoOn = true)
    {
        if (!m_app) {
            // Run alone, a case starts past the first-run window.
            QSettings settings(dir(u"config/mireo/pulse.conf"_s), QSettings::IniFormat);
            settings.setValue(u"onboarded"_s, true);
            settings.sync();
            launch();
        }
        // Nothing left open by an earlier case.
        for (int i = 0; i < 3 && !windows().isEmpty(); ++i) {
            press(u"Escape"_s);
            QTest::qWait(300);
        }
        QVERIFY2(windows().isEmpty(), qPrintable(describe(windows())));
        if (!pnlTitle.match(label()).hasMatch()) {
            const standin::Session session = m_standin.server.issueSession();
            QCOMPARE(runApp({session.callbackUrl.toString(QUrl::FullyEncoded)}).exitCode, 0);
            QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()),
                                      20000);
        }
        m_standin.server.setKillSwitch(false);
        m_standin.server.setAutoExecuteEnabled(autoOn);
        waitForPolls(2);
        QTRY_COMPARE_WITH_TIMEOUT(autoOnInApp(), std::optional(autoOn), 20000);
    }
    // The popover, opened by a click on the item and mapped.
    std::optional<testing::MappedWindow> openPopover()
    {
        const QList<testing::MappedWindow> before = windows();
        if (!activate(900, 10))
            return std::nullopt;
        const auto popover = waitForNewWindow(before);
        QTest::qWait(300); // painted
        return popover;
    }
    void closePopover(const testing::MappedWindow &popover)
    {
        QVERIFY(activate(900, 10));
        QTRY_VERIFY_WITH_TIMEOUT(!stillMapped(popover), 10000);
        QTest::qWait(350); // past the moment in which a click on the item would not reopen it
    }
    static QPoint inView(const testing::MappedWindow &window, QPoint offset, int border)
    {
        return window.frame.topLeft() + QPoint(border, border) + offset;
    }
    static QPoint fromBottom(const testing::MappedWindow &window, int x, int up, int border)
    {
        return QPoint(window.frame.left() + border + x, window.frame.bottom() + 1 - border - up);
    }
    QImage shot(const QString &name)
    {
        screenshot(name);
        return QImage(QStringLiteral(QT_TESTCASE_BUILDDIR "/artifacts/") + name);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!xServer || xServer->display().isEmpty())
            QSKIP("Xvfb is not installed");
        for (const char *program : {"xdotool", "import"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
                QSKIP(qPrintable(u"%1 is not installed"_s.arg(QLatin1String(program))));
        }
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
        m_watcher = std::make_unique<SniWatcher>(
            m_keyring.environment().value(u"DBUS_SESSION_BUS_ADDRESS"_s));
        QVERIFY(m_watcher->start());
        QVERIFY(m_notifications.serveOn(QDBusConnection::sessionBus()));
        for (const QString &name : {u"config"_s, u"data"_s, u"runtime"_s})
            QVERIFY(QDir(m_home.path()).mkpath(name));
        QVERIFY(QFile::setPermissions(dir(u"runtime"_s), QFileDevice::ReadOwner |
                                                             QFileDevice::WriteOwner |
                                                             QFileDevice::ExeOwner));
        // Today's result in dollars once signed in; the public title until then.
        QCOMPARE(runApp({u"--set-metric"_s, u"pnl"_s}).exitCode, 0);
    }
    void cleanupTestCase()
    {
        quit();
        m_follow.kill();
        m_follow.waitForFinished();
    }

    void firstLaunchShowsTheItemAndTheFirstRunWindow()
    {
        launch();
        QTRY_VERIFY2_WITH_TIMEOUT(publicTitle.match(label()).hasMatch(), qPrintable(label()),
                                  20000);
        // The first-run window, in the middle of the screen.
        QTRY_VERIFY_WITH_TIMEOUT(!windows().isEmpty(), 10000);
        const QList<testing::MappedWindow> shown = windows();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown.constFirst().name, QString()); // the first-run window has no title
        QVERIFY2(shown.constFirst().frame.contains(QPoint(512, 384)), qPrintable(describe(shown)));
        screenshot(u"desktop-first-run.png"_s);
    }

    void activateOpensThePopoverAtThePoint()
    {
        const QList<testing::MappedWindow> before = windows();
        QVERIFY(activate(900, 10));
        QTRY_COMPARE_WITH_TIMEOUT(testing::newWindows(before, windows()).size(), 1, 10000);
        const testing::MappedWindow popover = testing::newWindows(before, windows()).constFirst();
        // Under the click, inside the screen.
        QVERIFY2(popover.frame.top() < 60 && popover.frame.left() <= 900 &&
                     popover.frame.right() >= 700 && popover.frame.right() < 1024,
                 qPrintable(describe({popover})));
        QVERIFY(popover.frame.width() > 150 && popover.frame.height() > 150);
        QTest::qWait(300); // painted
        screenshot(u"desktop-popover.png"_s);
        QVERIFY(activate(900, 10));
        QTRY_COMPARE_WITH_TIMEOUT(testing::newWindows(before, windows()).size(), 0, 10000);
    }

    void hotKeyAndSecondLaunchToggleTheQuickPanel()
    {
        const QList<testing::MappedWindow> before = windows();
        const auto panelShown = [&] { return testing::newWindows(before, windows()).size() == 1; };
        const auto panelHidden = [&] { return testing::newWindows(before, windows()).isEmpty(); };

        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY_WITH_TIMEOUT(panelShown(), 10000);
        const testing::MappedWindow panel = testing::newWindows(before, windows()).constFirst();
        QVERIFY2(panel.frame.contains(QPoint(512, panel.frame.center().y())) &&
                     panel.frame.width() > 150,
                 qPrintable(describe({panel})));
        QTest::qWait(300);
        screenshot(u"desktop-quick-panel.png"_s);
        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY_WITH_TIMEOUT(panelHidden(), 10000);

        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY_WITH_TIMEOUT(panelShown(), 10000);
        QVERIFY(press(u"Escape"_s));
        QTRY_VERIFY_WITH_TIMEOUT(panelHidden(), 10000);

        // A second launch without a link hands over to the first and exits.
        QCOMPARE(runApp({}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(panelShown(), 10000);
        QCOMPARE(runApp({u"mireopulse://open"_s}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(panelHidden(), 10000);
        QVERIFY(m_app->state() == QProcess::Running);
    }

    void openOverTheBusSignsTheRunningAppIn()
    {
        // A peer that floods the app is refused; the app goes on.
        QCOMPARE(
            callApp(u"Open"_s, {QStringList(5000, u"mireopulse://open"_s), QVariantMap()}).type(),
            QDBusMessage::ErrorMessage);
        // Access tokens that last a minute and a second: the app renews about every second.
        const standin::Session session = m_standin.server.issueSession(61);
        QCOMPARE(callApp(u"Open"_s, {QStringList{session.callbackUrl.toString(QUrl::FullyEncoded)},
                                     QVariantMap()})
                     .type(),
                 QDBusMessage::ReplyMessage);
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 20000);
        // The first poll after sign-in marks what exists without announcing it.
        QTRY_VERIFY_WITH_TIMEOUT(settingsFile().contains("notify.lastFillAt"), 20000);
        waitForPolls(2);
        QCOMPARE(m_notifications.calls.size(), 0);

        const QList<testing::MappedWindow> before = windows();
        QVERIFY(activate(900, 10));
        QTRY_COMPARE_WITH_TIMEOUT(testing::newWindows(before, windows()).size(), 1, 10000);
        QTest::qWait(500);
        screenshot(u"desktop-popover-signed-in.png"_s);
        QVERIFY(activate(900, 10));
        QTRY_COMPARE_WITH_TIMEOUT(testing::newWindows(before, windows()).size(), 0, 10000);
    }

    // A status bar beside the app, past several of the app's own renewals: the surfaces read
    // the app, so no token is ever presented twice and the session survives.
    void surfacesBesideTheAppReadItAndSpendNoToken()
    {
        m_follow.setProcessEnvironment(environment());
        connect(&m_follow, &QProcess::readyReadStandardOutput, this,
                [this] { m_followed += m_follow.readAllStandardOutput(); });
        m_follow.start(QStringLiteral(MIREO_PULSE_BINARY), {u"--follow"_s});
        QTRY_VERIFY_WITH_TIMEOUT(m_followed.contains('\n'), 20000);

        const int publicRequests = trafficTo(u"/api/public/track-record"_s);
        const int renewals = presentedRefreshTokens().size();
        for (int i = 0; i < 6; ++i) {
            const testing::ProcessRun title = runApp({u"--print-title"_s});
            QCOMPARE(title.exitCode, 0);
            QVERIFY2(pnlTitle.match(QString::fromUtf8(title.out.trimmed())).hasMatch(),
                     title.out.constData());
        }
        const testing::ProcessRun status = runApp({u"--status-json"_s});
        QCOMPARE(QJsonDocument::fromJson(status.out)[u"account"_s][u"signedIn"_s], true);
        QTRY_VERIFY_WITH_TIMEOUT(presentedRefreshTokens().size() >= renewals + 2, 20000);

        QCOMPARE(trafficTo(u"/api/public/track-record"_s), publicRequests);
        verifyNoTokenPresentedTwice();
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 10000);
        // The follower printed the app's titles and nothing of its own.
        for (const QByteArray &line : followedLines())
            QVERIFY2(line.isEmpty() || publicTitle.match(QString::fromUtf8(line)).hasMatch() ||
                         pnlTitle.match(QString::fromUtf8(line)).hasMatch(),
                     line.constData());
        QVERIFY(m_follow.state() == QProcess::Running);
    }

    void eachAccountEventIsAnnouncedOnce_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<QString>("summary");
        QTest::newRow("decision") << u"decision"_s << u"Mireo decided"_s;
        QTest::newRow("fill") << u"fill"_s << u"Order filled"_s;
        QTest::newRow("kill switch") << u"kill switch"_s << u"Kill switch activated"_s;
    }
    void eachAccountEventIsAnnouncedOnce()
    {
        QFETCH(QString, event);
        QFETCH(QString, summary);
        const qsizetype before = m_notifications.calls.size();
        // Later than anything the demo account opened with.
        const QString later =
            QDateTime::currentDateTimeUtc().addDays(1).toString(Qt::ISODateWithMs);
        if (event == u"decision")
            m_standin.server.publishDecision(later, {u"NVDA"_s});
        else if (event == u"fill")
            QVERIFY(m_standin.server.addFill({{u"symbol"_s, u"NVDA"_s},
                                              {u"side"_s, u"buy"_s},
                                              {u"status"_s, u"filled"_s},
                                              {u"filled_at"_s, later},
                                              {u"fill_price"_s, 131.5}}));
        else
            m_standin.server.setKillSwitch(true);

        QTRY_COMPARE_WITH_TIMEOUT(m_notifications.calls.size(), before + 1, 20000);
        QCOMPARE(m_notifications.calls.constLast().summary, summary);
        waitForPolls(3);
        QCOMPARE(m_notifications.calls.size(), before + 1);
    }

    void aRestartAnnouncesNothingAndSkipsTheFirstRunWindow()
    {
        quit();
        // Alone, the follower carries on by itself and renews the session it finds.
        const qsizetype renewals = presentedRefreshTokens().size();
        QTRY_VERIFY_WITH_TIMEOUT(presentedRefreshTokens().size() > renewals, 20000);
        const qsizetype before = m_notifications.calls.size();

        // Two launches at the same moment end with one app.
        QSignalSpy registered(m_watcher.get(), &SniWatcher::itemRegistered);
        std::array<std::unique_ptr<QProcess>, 2> launches;
        for (auto &launch : launches) {
            launch = std::make_unique<QProcess>();
            launch->setProcessEnvironment(environment());
            launch->start(QStringLiteral(MIREO_PULSE_BINARY), QStringList());
        }
        const auto ended = [&] {
            return int(launches[0]->state() == QProcess::NotRunning) +
                   int(launches[1]->state() == QProcess::NotRunning);
        };
        QTRY_COMPARE_WITH_TIMEOUT(ended(), 1, 20000);
        const int survivor = launches[0]->state() == QProcess::NotRunning ? 1 : 0;
        QCOMPARE(launches[1 - survivor]->exitCode(), 0);
        m_app = std::move(launches[survivor]);
        QTRY_VERIFY_WITH_TIMEOUT(!registered.isEmpty(), 20000);
        m_item = registered.constLast().constFirst().toString();

        // Signed in again from the keychain, the account polled a few times; the follower
        // follows the app again.
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 20000);
        waitForPolls(3);
        QCOMPARE(m_notifications.calls.size(), before);
        // The launch that handed over brought up the quick panel, as a second launch does, and
        // no first-run window: the hot key takes the one window away.
        QTRY_COMPARE_WITH_TIMEOUT(windows().size(), 1, 10000);
        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY2_WITH_TIMEOUT(windows().isEmpty(), qPrintable(describe(windows())), 10000);
        QVERIFY(m_follow.state() == QProcess::Running);
        QTRY_VERIFY_WITH_TIMEOUT(
            pnlTitle.match(QString::fromUtf8(followedLines().value(followedLines().size() - 2)))
                .hasMatch(),
            10000);
        verifyNoTokenPresentedTwice();
    }

    // Without the app, two surfaces that start at the same moment renew one after the other.
    void standaloneSurfacesRenewOneAtATime()
    {
        quit();
        m_follow.kill();
        m_follow.waitForFinished();
        const int renewals = presentedRefreshTokens().size();
        std::array<QProcess, 2> surfaces;
        for (QProcess &surface : surfaces) {
            surface.setProcessEnvironment(environment());
            surface.start(QStringLiteral(MIREO_PULSE_BINARY), {u"--print-title"_s});
        }
        QTRY_VERIFY_WITH_TIMEOUT(surfaces[0].state() == QProcess::NotRunning &&
                                     surfaces[1].state() == QProcess::NotRunning,
                                 30000);
        for (QProcess &surface : surfaces) {
            const QString title = QString::fromUtf8(surface.readAllStandardOutput().trimmed());
            QVERIFY2(pnlTitle.match(title).hasMatch(), qPrintable(title));
        }
        QVERIFY(presentedRefreshTokens().size() >= renewals + 2);
        verifyNoTokenPresentedTwice();
    }
    // --- Desktop fidelity (issue 15) ------------------------------------------------------------

    // Pause asks inside the open popover; Cancel changes nothing; a confirmed change disables
    // the buttons while it runs (a second click sends nothing) and the pill shows the new state
    // in the same, still open popover.
    void pauseAndEnableAskInsideTheOpenPopover()
    {
        ensureSignedIn(true);
        const auto popover = openPopover();
        QVERIFY(popover);
        shot(u"desktop-fidelity-1-auto-on.png"_s);
        m_standin.server.clearRequests();

        // Asked, then cancelled with Escape: the popover stays, nothing is sent.
        QVERIFY(click(inView(*popover, autoButtonAt, popoverBorder)));
        QTest::qWait(400);
        QVERIFY(stillMapped(*popover));
        shot(u"desktop-fidelity-1-pause-asks.png"_s);
        QVERIFY(press(u"Escape"_s));
        QTest::qWait(400);
        QVERIFY2(stillMapped(*popover), "Escape answers the question, the popover stays");
        QCOMPARE(autoExecutionRequests(), 0);
        QVERIFY(m_standin.server.autoExecuteEnabled());

        // Asked again and confirmed with Return; the service takes its time to answer.
        standin::Override slow;
        slow.passThrough = true;
        slow.delayMs = 2500;
        m_standin.server.overrideNext(u"/api/mobile/auto-execution"_s, slow);
        QVERIFY(click(inView(*popover, autoButtonAt, popoverBorder)));
        QTest::qWait(400);
        QVERIFY(press(u"Return"_s));
        QTRY_COMPARE_WITH_TIMEOUT(autoExecutionRequests(), 1, 5000);
        // While it runs: the button is disabled, a second click asks nothing and sends nothing.
        QVERIFY(click(inView(*popover, autoButtonAt, popoverBorder)));
        QTest::qWait(300);
        shot(u"desktop-fidelity-1-pausing.png"_s);
        QVERIFY(press(u"Return"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!m_standin.server.autoExecuteEnabled(), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(autoOnInApp(), std::optional(false), 20000);
        QTest::qWait(500);
        QVERIFY2(stillMapped(*popover), "the popover stays open through the change");
        shot(u"desktop-fidelity-1-paused.png"_s);
        QCOMPARE(autoExecutionRequests(), 1);

        // Enable asks with its own title; the popover closed by the user answers nothing: a
        // Return afterwards goes nowhere, and the next opening starts without a question.
        QVERIFY(click(inView(*popover, autoButtonAt, popoverBorder)));
        QTest::qWait(400);
        shot(u"desktop-fidelity-1-enable-asks.png"_s);
        closePopover(*popover);
        QVERIFY(press(u"Return"_s));
        const auto again = openPopover();
        QVERIFY(again);
        shot(u"desktop-fidelity-1-reopened.png"_s);
        QCOMPARE(autoExecutionRequests(), 1);
        QVERIFY(!m_standin.server.autoExecuteEnabled());
        closePopover(*again);
    }

    // The same question in the quick panel, which stays open while it asks; its background
    // drags it, and it stays where it was put until it is hidden.
    void quickPanelAsksAndMovesWhenDragged()
    {
        ensureSignedIn(false);
        m_standin.server.clearRequests();
        const QList<testing::MappedWindow> before = windows();
        QVERIFY(press(u"alt+shift+k"_s));
        const auto panel = waitForNewWindow(before);
        QVERIFY(panel);
        QTest::qWait(300);

        QVERIFY(click(inView(*panel, autoButtonAt, 0)));
        QTest::qWait(400);
        QVERIFY(stillMapped(*panel));
        shot(u"desktop-fidelity-3-panel-enable-asks.png"_s);
        QVERIFY(press(u"Return"_s));
        QTRY_VERIFY_WITH_TIMEOUT(m_standin.server.autoExecuteEnabled(), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(autoOnInApp(), std::optional(true), 20000);
        QTest::qWait(500);
        QVERIFY(stillMapped(*panel));
        shot(u"desktop-fidelity-3-panel-enabled.png"_s);
        QCOMPARE(autoExecutionRequests(), 1);

        // Dragged by its background: it follows, then stays through updates.
        const QPoint grip = inView(*panel, headerGapAt, 0);
        QVERIFY(drag(grip, grip + QPoint(-220, 150)));
        QTRY_VERIFY_WITH_TIMEOUT(
            windows().size() == before.size() + 1 &&
                testing::newWindows(before, windows()).constFirst().frame.topLeft() ==
                    panel->frame.topLeft() + QPoint(-220, 150),
            5000);
        m_standin.server.book().advance(2);
        waitForPolls(2);
        const testing::MappedWindow moved = testing::newWindows(before, windows()).constFirst();
        QCOMPARE(moved.frame.topLeft(), panel->frame.topLeft() + QPoint(-220, 150));
        shot(u"desktop-fidelity-3-panel-moved.png"_s);

        // Hidden and shown again: back in its place in the middle.
        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY_WITH_TIMEOUT(testing::newWindows(before, windows()).isEmpty(), 10000);
        QVERIFY(press(u"alt+shift+k"_s));
        const auto shownAgain = waitForNewWindow(before);
        QVERIFY(shownAgain);
        QVERIFY2(shownAgain->frame.topLeft() != moved.frame.topLeft() &&
                     std::abs(shownAgain->frame.center().x() - 512) <= 1,
                 qPrintable(describe({*shownAgain})));
        QVERIFY(press(u"Escape"_s));
        QTRY_VERIFY_WITH_TIMEOUT(testing::newWindows(before, windows()).isEmpty(), 10000);
    }

    // Alt+Shift+K brings the quick panel up while the popover is open; both stay on screen.
    void hotKeyWorksWhileThePopoverIsOpen()
    {
        ensureSignedIn();
        const QList<testing::MappedWindow> before = windows();
        const auto popover = openPopover();
        QVERIFY(popover);
        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_COMPARE_WITH_TIMEOUT(testing::newWindows(before, windows()).size(), 2, 10000);
        QVERIFY(stillMapped(*popover));
        QTest::qWait(300);
        shot(u"desktop-fidelity-4-hot-key-over-popover.png"_s);
        // The popover holds the keyboard while open: Escape closes it, the hot key the panel.
        QVERIFY(press(u"Escape"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!stillMapped(*popover), 10000);
        QCOMPARE(testing::newWindows(before, windows()).size(), 1);
        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY_WITH_TIMEOUT(testing::newWindows(before, windows()).isEmpty(), 10000);
    }

    // The hot key is the key where K sits on a US keyboard: after a switch to Dvorak while the
    // app runs it is the key that types "t", and the key that types "k" does nothing.
    void hotKeyFollowsTheKeyAcrossALayoutChange()
    {
        if (QStandardPaths::findExecutable(u"setxkbmap"_s).isEmpty())
            QSKIP("setxkbmap is not installed (x11-xkb-utils)");
        ensureSignedIn();
        const auto restore = qScopeGuard([this] {
            run(u"setxkbmap"_s, {u"-layout"_s, u"us"_s, u"-variant"_s, u""_s});
        });
        const QList<testing::MappedWindow> before = windows();
        QCOMPARE(run(u"setxkbmap"_s, {u"-layout"_s, u"us"_s, u"-variant"_s, u"dvorak"_s}).exitCode,
                 0);
        QTest::qWait(300);
        QVERIFY(press(u"alt+shift+k"_s)); // under Dvorak, the key where V sits in US
        QTest::qWait(500);
        QVERIFY(testing::newWindows(before, windows()).isEmpty());
        QVERIFY(press(u"alt+shift+t"_s));
        QVERIFY(waitForNewWindow(before));
        QTest::qWait(300);
        shot(u"desktop-fidelity-2-dvorak.png"_s);
        QVERIFY(press(u"alt+shift+t"_s));
        QTRY_VERIFY_WITH_TIMEOUT(testing::newWindows(before, windows()).isEmpty(), 10000);
        // Russian: the key that types "л".
        QCOMPARE(run(u"setxkbmap"_s, {u"-layout"_s, u"ru"_s}).exitCode, 0);
        QTest::qWait(300);
        QVERIFY(press(u"alt+shift+Cyrillic_el"_s));
        QVERIFY(waitForNewWindow(before));
        QVERIFY(press(u"alt+shift+Cyrillic_el"_s));
        QTRY_VERIFY_WITH_TIMEOUT(testing::newWindows(before, windows()).isEmpty(), 10000);
        QVERIFY(m_app->state() == QProcess::Running);
    }

    // An open popover keeps its widgets while the stores change: the "Menu bar" drop-down the
    // user opened stays open through polls and a moving book. The chart's end dot is whole: it
    // shows past the column's right edge.
    void anOpenPopoverKeepsItsDropDownAndDrawsTheWholeDot()
    {
        ensureSignedIn();
        const auto popover = openPopover();
        QVERIFY(popover);

        // The column ends 14 points inside the window's right edge; the end dot reaches past it.
        const QImage image = shot(u"desktop-fidelity-5-sparkline.png"_s);
        const int columnRight = popover->frame.right() - popoverBorder - 14; // last column pixel
        int coloured = 0;
        for (int y = popover->frame.top(); y <= popover->frame.bottom(); ++y)
            for (int x = columnRight + 1; x <= columnRight + 2; ++x)
                coloured += image.pixelColor(x, y).hsvSaturation() > 60;
        QVERIFY2(coloured >= 2, qPrintable(QString::number(coloured)));

        const QList<testing::MappedWindow> withPopover = windows();
        QVERIFY(click(fromBottom(*popover, metricPickerX, metricPickerFromBottom, popoverBorder)));
        const auto dropDown = waitForNewWindow(withPopover);
        QVERIFY2(dropDown, "the drop-down opens");
        m_standin.server.book().advance(3);
        waitForPolls(4);
        QTest::qWait(300);
        QVERIFY2(stillMapped(*dropDown), "a poll does not close the open drop-down");
        QVERIFY(stillMapped(*popover));
        shot(u"desktop-fidelity-7-drop-down-open.png"_s);
        QVERIFY(press(u"Escape"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!stillMapped(*dropDown), 5000);
        if (stillMapped(*popover))
            closePopover(*popover);

        closePopover(*popover);
    }

    // Redirects on a real network: the public book moved within the service is followed; the
    // account redirected to another host gets there without the user's credentials, and the
    // popover keeps the numbers it has.
    void redirectsKeepCredentialsAtHome()
    {
        ensureSignedIn();
        testing::StandinFixture elsewhere;
        standin::Override moved;
        moved.status = 308;
        moved.location = "/api/public/track-record?moved=1";
        m_standin.server.overrideNext(u"/api/public/track-record"_s, moved);
        standin::Override away;
        away.status = 302;
        away.location = elsewhere.url().resolved(QUrl(u"/api/mobile/portfolio"_s)).toEncoded();
        m_standin.server.overrideNext(u"/api/mobile/portfolio"_s, away, 3);
        m_standin.server.clearRequests();

        const auto popover = openPopover();
        QVERIFY(popover);
        QVERIFY(click(fromBottom(*popover, refreshX, signOutFromBottom, popoverBorder)));
        QTRY_VERIFY_WITH_TIMEOUT(trafficTo(u"/api/public/track-record"_s) >= 2, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(elsewhere.server.requests().size() >= 1, 20000);
        waitForPolls(1);
        for (const auto &request : elsewhere.server.requests())
            for (const auto &[name, value] : request.headers)
                QVERIFY2(name.toLower() != "authorization" && name.toLower() != "apikey",
                         name.constData());
        QVERIFY(m_app->state() == QProcess::Running);
        QVERIFY(pnlTitle.match(label()).hasMatch());
        QTest::qWait(300);
        shot(u"desktop-fidelity-6-redirects.png"_s);
        closePopover(*popover);
    }

    // Started before the desktop's notification server (autostart at login): nothing is
    // announced while there is none, and its arrival on the bus counts as the permission.
    void notificationsWaitForTheServerAtLogin()
    {
        ensureSignedIn();
        quit();
        m_notifications.stop();
        const qsizetype before = m_notifications.calls.size();
        launch();
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 20000);
        const QString later =
            QDateTime::currentDateTimeUtc().addDays(2).toString(Qt::ISODateWithMs);
        m_standin.server.publishDecision(later, {u"AMD"_s});
        // Polls run (the checks, gated on the permission, make no requests of their own).
        const int portfolios = trafficTo(u"/api/mobile/portfolio"_s);
        QTRY_VERIFY_WITH_TIMEOUT(trafficTo(u"/api/mobile/portfolio"_s) >= portfolios + 5, 20000);
        QCOMPARE(m_notifications.calls.size(), before);
        QVERIFY(!settingsFile().contains(later.toLatin1()));

        QVERIFY(m_notifications.serveOn(QDBusConnection::sessionBus()));
        QTRY_COMPARE_WITH_TIMEOUT(m_notifications.calls.size(), before + 1, 20000);
        QCOMPARE(m_notifications.calls.constLast().summary, u"Mireo decided"_s);
        waitForPolls(3);
        QCOMPARE(m_notifications.calls.size(), before + 1);
    }

    // The first-run window, brought back by removing its mark: an empty title, and "Later" a
    // plain button.
    void theFirstRunWindowHasNoTitleAndAPlainLater()
    {
        quit();
        QSettings settings(dir(u"config/mireo/pulse.conf"_s), QSettings::IniFormat);
        settings.remove(u"onboarded"_s);
        settings.sync();
        launch();
        QTRY_VERIFY_WITH_TIMEOUT(windows().size() == 1, 10000);
        // Neither the old title nor the one a window manager shows (Qt would put the app's
        // name there).
        QCOMPARE(windows().constFirst().name, QString());
        QCOMPARE(windows().constFirst().title, QString());
        QTest::qWait(300);
        shot(u"desktop-fidelity-9-first-run.png"_s);
        const testing::MappedWindow window = windows().constFirst();
        // "Later" sits at the bottom left, past the 26-point padding.
        QVERIFY(click(QPoint(window.frame.left() + 26 + 25, window.frame.bottom() - 26 - 10)));
        QTRY_VERIFY_WITH_TIMEOUT(windows().isEmpty(), 10000);
    }

    // After "Sign out" in the footer the open popover shrinks to its content.
    void signingOutShrinksTheOpenPopover()
    {
        ensureSignedIn();
        const auto popover = openPopover();
        QVERIFY(popover);
        const int tall = popover->frame.height();
        QVERIFY(click(fromBottom(*popover, signOutX, signOutFromBottom, popoverBorder)));
        QTRY_VERIFY_WITH_TIMEOUT(publicTitle.match(label()).hasMatch(), 10000);
        QTest::qWait(500);
        const QList<testing::MappedWindow> now = windows();
        const auto shrunk = std::find_if(now.cbegin(), now.cend(),
                                         [&](const auto &w) { return w.id == popover->id; });
        QVERIFY2(shrunk != now.cend(), "the popover stays open");
        QVERIFY2(shrunk->frame.height() < tall - 100,
                 qPrintable(u"%1 -> %2"_s.arg(tall).arg(shrunk->frame.height())));
        QCOMPARE(shrunk->frame.topLeft(), popover->frame.topLeft());
        shot(u"desktop-fidelity-9-signed-out.png"_s);
        closePopover(*shrunk);
    }
};

int main(int argc, char *argv[])
{
    testing::PrivateXServer xvfb;
    xServer = &xvfb;
    QCoreApplication app(argc, argv);
    TestDesktop test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_desktop.moc"
