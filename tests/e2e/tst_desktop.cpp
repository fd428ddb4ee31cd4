#include "base/AppNames.h"
#include "hardening/PulseBinary.h"
#include "notify/NotificationServerDouble.h"
#include "support/PrivateSessionBus.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRun.h"
#include "support/SniWatcher.h"
#include "support/StandinFixture.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <array>
#include <memory>
#include <optional>
#include <signal.h>

using namespace Qt::StringLiterals;

namespace {
testing::PrivateXServer *xServer = nullptr;

struct Window
{
    QString id;
    QString name; // _NET_WM_NAME, else WM_NAME
    QRect frame;
};
using Windows = QList<Window>;

Windows without(Windows windows, const Windows &known)
{
    windows.removeIf([&](const Window &w) {
        return std::any_of(known.cbegin(), known.cend(), [&](auto &k) { return k.id == w.id; });
    });
    return windows;
}

const QString itemPath = u"/StatusNotifierItem"_s;
const QString itemInterface = u"org.kde.StatusNotifierItem"_s;
const QRegularExpression publicTitle(u"^M [+-]\\d+\\.\\d%$"_s);
const QRegularExpression pnlTitle(u"^M [+-]\\$[\\d,]+$"_s);
} // namespace

// The real binary in desktop mode on a private X server and session bus, against the in-process
// stand-in. What one piece does alone is tested with that piece.
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

    // "Pause" from the popover's top-left corner, "Sign out" from its bottom-right one.
    static constexpr QPoint autoButtonAt{336, 46};
    static constexpr QPoint signOutFromBottomRight{86, 81};

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
        env.insert(u"BROWSER"_s, u"true"_s); // the sign-in page opens nowhere
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
    // X events reach the app in order: a key sent after a click needs no pause.
    bool press(const QString &keys)
    {
        return run(u"xdotool"_s, QStringList{u"key"_s, u"--delay"_s, u"30"_s} + keys.split(u' '))
                   .exitCode == 0;
    }
    bool click(QPoint at)
    {
        return run(u"xdotool"_s, {u"mousemove"_s, QString::number(at.x()), QString::number(at.y()),
                                  u"click"_s, u"1"_s})
                   .exitCode == 0;
    }
    // The mapped top-level windows (there is no window manager); the search lists the root
    // first, then each window's geometry, then each one's name.
    Windows windows()
    {
        for (int attempt = 0; attempt < 10; ++attempt) {
            const testing::ProcessRun search =
                run(u"xdotool"_s,
                    {u"search"_s, u"--onlyvisible"_s, u"--maxdepth"_s, u"1"_s, u""_s,
                     u"getwindowgeometry"_s, u"--shell"_s, u"%@"_s, u"getwindowname"_s, u"%@"_s});
            const QStringList lines = QString::fromUtf8(search.out).split(u'\n');
            const qsizetype count = lines.filter(QRegularExpression(u"^WINDOW="_s)).size();
            if (search.exitCode != 0 || count == 0 || lines.size() < 7 * count)
                continue; // a window went while it was read
            Windows found;
            for (qsizetype i = 1; i < count; ++i) {
                const auto value = [&](int field) { return lines[6 * i + field].section(u'=', 1); };
                found.append({value(0), lines[6 * count + i],
                              QRect(value(1).toInt(), value(2).toInt(), value(3).toInt(),
                                    value(4).toInt())});
            }
            return found;
        }
        return {};
    }
    Windows newSince(const Windows &before) { return without(windows(), before); }
    // The one window that `before` did not have, once it is there.
    std::optional<Window> waitForNewWindow(const Windows &before, int timeoutMs = 10000)
    {
        if (!QTest::qWaitFor([&] { return newSince(before).size() == 1; }, timeoutMs))
            return std::nullopt;
        return newSince(before).constFirst();
    }
    bool stillMapped(const Window &window) { return without({window}, windows()).isEmpty(); }
    // A whole-screen shot into the artifacts, once `frame` has painted (shows two colours).
    void screenshot(const QString &name, const QRect &frame = {})
    {
        const QString path = QStringLiteral(QT_TESTCASE_BUILDDIR "/artifacts/") + name;
        QDir().mkpath(QFileInfo(path).path());
        const auto painted = [&] {
            if (run(u"import"_s, {u"-window"_s, u"root"_s, path}).exitCode != 0)
                return false;
            const QImage image(path);
            for (int y = frame.top(); y < frame.bottom(); y += 3)
                for (int x = frame.left(); x < frame.right(); x += 3)
                    if (image.pixel(x, y) != image.pixel(frame.topLeft()))
                        return true;
            return frame.isNull();
        };
        QVERIFY2(QTest::qWaitFor(painted, 5000), qPrintable(name));
    }

    // Never blocks our event loop: the app may be calling the stand-in meanwhile.
    static QDBusMessage call(QDBusMessage message, const QVariantList &arguments)
    {
        message.setArguments(arguments);
        QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(message, 10000);
        if (!QTest::qWaitFor([&] { return pending.isFinished(); }, 12000))
            return {};
        return pending.reply();
    }
    QString label()
    {
        const QDBusMessage reply =
            call(QDBusMessage::createMethodCall(m_item, itemPath,
                                                u"org.freedesktop.DBus.Properties"_s, u"Get"_s),
                 {itemInterface, u"XAyatanaLabel"_s});
        return qvariant_cast<QDBusVariant>(reply.arguments().value(0)).variant().toString();
    }
    bool activate()
    {
        return call(QDBusMessage::createMethodCall(m_item, itemPath, itemInterface, u"Activate"_s),
                    {900, 10})
                   .type() == QDBusMessage::ReplyMessage;
    }
    // A click too soon after the last closing one is ignored by design: it is given again.
    std::optional<Window> openPopover()
    {
        const Windows before = windows();
        for (int attempt = 0; attempt < 5; ++attempt) {
            if (!activate())
                return std::nullopt;
            if (const auto popover = waitForNewWindow(before, 2000))
                return popover;
        }
        return std::nullopt;
    }

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
    QStringList presentedRefreshTokens() const
    {
        QStringList tokens;
        for (const auto &request : m_standin.requestsFor(u"/auth/v1/token"))
            tokens << QJsonDocument::fromJson(request.body)[u"refresh_token"_s].toString();
        return tokens;
    }
    // A backend that rotates refresh tokens refuses one presented twice: the session would end.
    bool noTokenPresentedTwice() const
    {
        const QStringList tokens = presentedRefreshTokens();
        return QSet<QString>(tokens.cbegin(), tokens.cend()).size() == tokens.size();
    }
    QList<QByteArray> followedLines() const { return m_followed.split('\n'); }

    // Waits until the app has run `polls` more account polls (each ends with the trades call).
    void waitForPolls(int polls)
    {
        const int seen = m_standin.requestsTo(u"/api/mobile/trades"_s);
        QTRY_VERIFY_WITH_TIMEOUT(m_standin.requestsTo(u"/api/mobile/trades"_s) >= seen + polls,
                                 20000);
    }
    QJsonValue account(const QString &key)
    {
        return QJsonDocument::fromJson(runApp({u"--status-json"_s}).out)[u"account"_s][key];
    }
    QJsonValue autoOnInApp() { return account(u"worker"_s)[u"autoExecuteEnabled"_s]; }

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
    }
    void cleanupTestCase()
    {
        quit();
        m_follow.kill();
        m_follow.waitForFinished();
    }

    // The first-run window is centred, untitled, and "Later" closes it.
    void firstLaunchShowsTheItemAndTheFirstRunWindow()
    {
        launch();
        QTRY_VERIFY2_WITH_TIMEOUT(publicTitle.match(label()).hasMatch(), qPrintable(label()),
                                  20000);
        // Today's result in dollars once signed in: the running app follows the settings file.
        QCOMPARE(runApp({u"--set-metric"_s, u"pnl"_s}).exitCode, 0);
        const auto window = waitForNewWindow({});
        QVERIFY(window);
        QCOMPARE(window->name, QString());
        QVERIFY(window->frame.contains(QPoint(512, 384)));
        screenshot(u"desktop-first-run.png"_s, window->frame);
        // "Later" sits at the bottom left, past the 26-point padding.
        QVERIFY(click(QPoint(window->frame.left() + 26 + 25, window->frame.bottom() - 26 - 10)));
        QTRY_VERIFY_WITH_TIMEOUT(windows().isEmpty(), 10000);
    }

    void hotKeyAndSecondLaunchToggleTheQuickPanel()
    {
        const Windows before = windows();
        const auto panelHidden = [&] { return newSince(before).isEmpty(); };

        QVERIFY(press(u"alt+shift+k"_s));
        const auto panel = waitForNewWindow(before);
        QVERIFY(panel);
        QVERIFY(std::abs(panel->frame.center().x() - 512) <= 1);
        QVERIFY(panel->frame.width() > 150);
        screenshot(u"desktop-quick-panel.png"_s, panel->frame);
        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY_WITH_TIMEOUT(panelHidden(), 10000);

        // A second launch hands over and exits; one at login (--background) leaves quietly.
        QCOMPARE(runApp({u"--background"_s}).exitCode, 0);
        QCOMPARE(runApp({}).exitCode, 0);
        QVERIFY(waitForNewWindow(before));
        QCOMPARE(runApp({u"mireopulse://open"_s}).exitCode, 0);
        QTRY_VERIFY_WITH_TIMEOUT(panelHidden(), 10000);
        QVERIFY(m_app->state() == QProcess::Running);
    }

    void openOverTheBusSignsTheRunningAppIn()
    {
        // Access tokens that last a minute and a second: the app renews about every second.
        const standin::Session session = m_standin.server.issueSession(61);
        const QDBusMessage open = QDBusMessage::createMethodCall(
            QLatin1StringView(app_names::busName), QLatin1StringView(app_names::objectPath),
            u"org.freedesktop.Application"_s, u"Open"_s);
        const QString link = session.callbackUrl.toString(QUrl::FullyEncoded);
        // As the popover's "Sign in" would, then the browser's link.
        QCOMPARE(call(QDBusMessage::createMethodCall(QLatin1StringView(app_names::busName),
                                                     QLatin1StringView(app_names::objectPath),
                                                     QLatin1StringView(app_names::stateInterface),
                                                     u"BeginSignIn"_s),
                      {})
                     .type(),
                 QDBusMessage::ReplyMessage);
        QCOMPARE(call(open, {QStringList{link}, QVariantMap()}).type(), QDBusMessage::ReplyMessage);
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 20000);
        // The first poll after sign-in marks what exists without announcing it.
        QTRY_VERIFY_WITH_TIMEOUT(
            QSettings(dir(u"config/"_s + QLatin1StringView(app_names::settingsFile)),
                      QSettings::IniFormat)
                .contains(u"notify.lastFillAt"_s),
            20000);
        waitForPolls(2);
        QCOMPARE(m_notifications.calls.size(), 0);

        const auto popover = openPopover();
        QVERIFY(popover);
        screenshot(u"desktop-popover-signed-in.png"_s, popover->frame);
        QVERIFY(activate());
        QTRY_VERIFY_WITH_TIMEOUT(!stillMapped(*popover), 10000);
    }

    // Surfaces beside the app read it: through the app's renewals no token is presented twice.
    void surfacesBesideTheAppReadItAndSpendNoToken()
    {
        m_follow.setProcessEnvironment(environment());
        connect(&m_follow, &QProcess::readyReadStandardOutput, this,
                [this] { m_followed += m_follow.readAllStandardOutput(); });
        m_follow.start(QStringLiteral(MIREO_PULSE_BINARY), {u"--follow"_s});
        QTRY_VERIFY_WITH_TIMEOUT(m_followed.contains('\n'), 20000);

        const int publicRequests = m_standin.requestsTo(u"/api/public/track-record"_s);
        const int renewals = presentedRefreshTokens().size();
        for (int i = 0; i < 6; ++i) {
            const testing::ProcessRun title = runApp({u"--print-title"_s});
            QCOMPARE(title.exitCode, 0);
            QVERIFY2(pnlTitle.match(QString::fromUtf8(title.out.trimmed())).hasMatch(),
                     title.out.constData());
        }
        QCOMPARE(account(u"signedIn"_s), true);

        // A stopped app is slow, not gone: never a second app beside it.
        ::kill(pid_t(m_app->processId()), SIGSTOP);
        const testing::ProcessRun stalled = runApp({u"--print-title"_s});
        ::kill(pid_t(m_app->processId()), SIGCONT);
        QCOMPARE(stalled.exitCode, 0);
        QCOMPARE(stalled.out.trimmed(), QByteArray("M\xC2\xB7"));
        QTRY_VERIFY_WITH_TIMEOUT(presentedRefreshTokens().size() >= renewals + 2, 20000);

        QCOMPARE(m_standin.requestsTo(u"/api/public/track-record"_s), publicRequests);
        QVERIFY(noTokenPresentedTwice());
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 10000);
        // The follower printed the app's titles and nothing of its own.
        for (const QByteArray &line : followedLines())
            QVERIFY2(line.isEmpty() || publicTitle.match(QString::fromUtf8(line)).hasMatch() ||
                         pnlTitle.match(QString::fromUtf8(line)).hasMatch(),
                     line.constData());
        QVERIFY(m_follow.state() == QProcess::Running);
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

        // Signed in again from the keychain; nothing is announced again.
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 20000);
        waitForPolls(3);
        QCOMPARE(m_notifications.calls.size(), before);
        // The launch that handed over toggled the quick panel; there is no first-run window.
        QTRY_COMPARE_WITH_TIMEOUT(windows().size(), 1, 10000);
        QVERIFY(press(u"alt+shift+k"_s));
        QTRY_VERIFY_WITH_TIMEOUT(windows().isEmpty(), 10000);
        QVERIFY(m_follow.state() == QProcess::Running);
        QTRY_VERIFY_WITH_TIMEOUT(
            pnlTitle.match(QString::fromUtf8(followedLines().value(followedLines().size() - 2)))
                .hasMatch(),
            10000);
        QVERIFY(noTokenPresentedTwice());
    }

    // Pause asks inside the open popover. By keyboard, only Shift+Tab to the action and Return
    // pause (focus starts on Cancel; Tab stays inside; Escape cancels). The quick panel over the
    // popover takes the keyboard from it.
    void pauseAsksInsideTheOpenPopover()
    {
        QTRY_COMPARE_WITH_TIMEOUT(autoOnInApp(), QJsonValue(true), 20000);
        const auto popover = openPopover();
        QVERIFY(popover);
        const Windows withPopover = windows();
        m_standin.server.clearRequests();
        const QPoint pause = popover->frame.topLeft() + autoButtonAt;
        for (const QString &keys : {u"Return"_s, QString(u"Tab "_s).repeated(10) + u"space"_s,
                                    u"Escape"_s, u"shift+Tab Return"_s}) {
            QVERIFY(click(pause));
            QVERIFY(press(keys));
        }
        QTRY_VERIFY_WITH_TIMEOUT(!m_standin.server.autoExecuteEnabled(), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(autoOnInApp(), QJsonValue(false), 20000);
        QCOMPARE(m_standin.requestsTo(u"/api/mobile/auto-execution"_s), 1);
        QVERIFY2(stillMapped(*popover), "the popover stays open through the change");
        screenshot(u"desktop-paused.png"_s, popover->frame);

        QVERIFY(press(u"alt+shift+k"_s));
        QVERIFY(waitForNewWindow(withPopover));
        QVERIFY(stillMapped(*popover));
        QVERIFY(press(u"Escape"_s));
        QTRY_COMPARE_WITH_TIMEOUT(windows().size(), withPopover.size(), 10000);
        QVERIFY(stillMapped(*popover));
        QVERIFY(press(u"Escape"_s));
        QTRY_VERIFY_WITH_TIMEOUT(windows().isEmpty(), 10000);
    }

    // Polls update the open popover in place: a drop-down stays open on its item, the focus stays.
    void pollsLeaveWhatTheUserIsDoing()
    {
        const auto popover = openPopover();
        QVERIFY(popover);
        const Windows withPopover = windows();
        QVERIFY(click(popover->frame.bottomLeft() + QPoint(130, -54))); // "Menu bar"
        const auto list = waitForNewWindow(withPopover);
        QVERIFY(list);
        QVERIFY(press(u"Up"_s)); // from today's P/L to the return
        waitForPolls(3);
        QVERIFY(stillMapped(*list));
        QVERIFY(press(u"Return"_s));
        QTRY_VERIFY2_WITH_TIMEOUT(!pnlTitle.match(label()).hasMatch(), qPrintable(label()), 10000);
        waitForPolls(3);
        QVERIFY(press(u"Down"_s)); // back to today's P/L
        QTRY_VERIFY2_WITH_TIMEOUT(pnlTitle.match(label()).hasMatch(), qPrintable(label()), 10000);
        screenshot(u"desktop-popover-after-polls.png"_s, popover->frame);
        QVERIFY(press(u"Escape"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!stillMapped(*popover), 10000);
    }

    // A kill -9 right after "Sign out", the follower carrying on alone, leaves nobody signed in.
    void signOutSticksThroughAKill()
    {
        const auto popover = openPopover();
        QVERIFY(popover);
        QVERIFY(click(popover->frame.bottomRight() - signOutFromBottomRight));
        QTRY_VERIFY2_WITH_TIMEOUT(publicTitle.match(label()).hasMatch(), qPrintable(label()),
                                  10000);
        m_app->kill();
        QVERIFY(m_app->waitForFinished());
        m_app.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!testing::appKeychain().read(testing::refreshTokenKey), 10000);
        launch();
        QTRY_VERIFY_WITH_TIMEOUT(account(u"signedIn"_s) == QJsonValue(false), 10000);
        QVERIFY(!testing::appKeychain().read(testing::refreshTokenKey));
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
