#include "platform/linux/X11HotKey.h"
#include "support/PrivateXServer.h"

#include <QGuiApplication>
#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <memory>

namespace {
testing::PrivateXServer *server = nullptr;

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(10000) && process.exitCode() == 0;
}

// Presses keys through XTEST, as a keyboard would; `keys` is a space-separated sequence.
bool press(const QString &keys)
{
    return run("xdotool", QStringList{"key", "--delay", "20"} + keys.split(' '));
}

// Presses `keys`, then `sentinel`, which activates: X delivers in order, so once the
// sentinel's activation is here, so is whatever `keys` did.
bool countAfter(QSignalSpy &activated, const QString &keys, const QString &sentinel, int expected)
{
    activated.clear();
    return press(keys) && press(sentinel) &&
           QTest::qWaitFor([&] { return activated.size() > expected; }, 5000) &&
           activated.size() == expected + 1;
}

// Presses `keys` until they activate: a keymap change reaches the app in its own time.
bool pressUntilActivated(QSignalSpy &activated, const QString &keys)
{
    activated.clear();
    for (int attempt = 0; attempt < 25; ++attempt)
        if (!press(keys) || QTest::qWaitFor([&] { return !activated.isEmpty(); }, 200))
            return !activated.isEmpty();
    return false;
}
} // namespace

// The grab on Qt's own X connection (the app on X11) and on a connection of its own (the app
// on Wayland, with XWayland).
class TestHotKey : public QObject
{
    Q_OBJECT

    static void requireX(const char *tool = "xdotool")
    {
        if (!server || server->display().isEmpty())
            QSKIP("Xvfb is not installed");
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            QSKIP("a tool the test needs is not installed");
    }
    static std::unique_ptr<X11HotKey> make(bool shared)
    {
        return std::unique_ptr<X11HotKey>(shared ? X11HotKey::create()
                                                 : new X11HotKey(server->display()));
    }
    static void connections()
    {
        QTest::addColumn<bool>("shared");
        QTest::newRow("Qt's connection") << true;
        QTest::newRow("own connection") << false;
    }

private Q_SLOTS:
    // Lock keys do not matter, other modifiers do. The key is the one where K sits on a US
    // keyboard, whatever the layout the desktop switches to while the grab is held: under
    // Dvorak the key that types "t", under Russian "л"; the key that types "k" there is
    // another one.
    void pressing_data()
    {
        QTest::addColumn<bool>("shared");
        QTest::addColumn<QString>("layout"); // empty: US
        QTest::addColumn<QString>("sentinel");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<int>("activations");
        const QList<std::tuple<const char *, const char *, const char *, int>> rows{
            {"", "alt+shift+k",
             "alt+shift+k Caps_Lock alt+shift+k Caps_Lock Num_Lock alt+shift+k Num_Lock Caps_Lock "
             "Num_Lock alt+shift+k Caps_Lock Num_Lock alt+shift+k",
             5},
            {"", "alt+shift+k", "alt+k shift+k ctrl+alt+shift+k alt+shift+j", 0},
            {"-layout us -variant dvorak", "alt+shift+t", "alt+shift+k", 0},
            {"-layout ru", "alt+shift+Cyrillic_el", "Caps_Lock alt+shift+Cyrillic_el Caps_Lock", 1},
            {"-layout us,ru -option grp:caps_toggle", "alt+shift+k",
             "Caps_Lock alt+shift+k Caps_Lock", 1}};
        for (const bool shared : {true, false})
            for (const auto &[layout, sentinel, keys, activations] : rows)
                QTest::addRow("%s, %s %s", shared ? "Qt's connection" : "own connection", layout,
                              keys)
                    << shared << QString::fromLatin1(layout) << QString::fromLatin1(sentinel)
                    << QString::fromLatin1(keys) << activations;
    }
    void pressing()
    {
        requireX();
        QFETCH(bool, shared);
        QFETCH(QString, layout);
        QFETCH(QString, sentinel);
        QFETCH(QString, keys);
        QFETCH(int, activations);
        const std::unique_ptr<X11HotKey> hotKey = make(shared);
        QVERIFY(hotKey->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy activated(hotKey.get(), &HotKey::activated);
        const auto restore = qScopeGuard([&layout] {
            if (!layout.isEmpty())
                run("setxkbmap", {"-layout", "us", "-option"});
        });
        if (!layout.isEmpty()) {
            if (QStandardPaths::findExecutable("setxkbmap").isEmpty())
                QSKIP("setxkbmap is not installed (x11-xkb-utils)");
            QVERIFY(run("setxkbmap", layout.split(' ')));
            QVERIFY(pressUntilActivated(activated, sentinel));
        }
        QVERIFY(countAfter(activated, keys, sentinel, activations));
    }

    // Num Lock moved to another modifier while the grab is held (a new keymap can do that):
    // the grab follows, so the key still works with Num Lock on.
    void followsALockModifierThatMoves_data() { connections(); }
    void followsALockModifierThatMoves()
    {
        requireX("xmodmap");
        QFETCH(bool, shared);
        const auto restore = qScopeGuard([] {
            run("xmodmap", {"-e", "clear mod3", "-e", "clear mod2", "-e", "add mod2 = Num_Lock"});
        });
        const std::unique_ptr<X11HotKey> hotKey = make(shared);
        QVERIFY(hotKey->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy activated(hotKey.get(), &HotKey::activated);
        QVERIFY(
            run("xmodmap", {"-e", "clear mod2", "-e", "clear mod3", "-e", "add mod3 = Num_Lock"}));
        QVERIFY(pressUntilActivated(activated, "Num_Lock alt+shift+k Num_Lock"));
        QVERIFY(countAfter(activated, "alt+shift+k", "Num_Lock alt+shift+k Num_Lock", 1));
    }

    // Another X client got there first: the grab fails and nothing fires here. A second
    // combination, one X cannot name, or no server at all is refused too.
    void aCombinationTakenElsewhereStaysInert_data() { connections(); }
    void aCombinationTakenElsewhereStaysInert()
    {
        requireX();
        QFETCH(bool, shared);
        X11HotKey owner(server->display());
        QVERIFY(owner.registerCombination(HotKey::quickPanelCombination));
        QSignalSpy ownerActivated(&owner, &HotKey::activated);
        const std::unique_ptr<X11HotKey> late = make(shared);
        QVERIFY(!late->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy lateActivated(late.get(), &HotKey::activated);
        QVERIFY(press("alt+shift+k Caps_Lock alt+shift+k Caps_Lock"));
        QTRY_COMPARE(ownerActivated.size(), 2);
        QCOMPARE(lateActivated.size(), 0);
        QVERIFY(!owner.registerCombination(Qt::AltModifier | Qt::Key_J));
        QVERIFY(
            !X11HotKey(server->display()).registerCombination(Qt::AltModifier | Qt::Key_Escape));
        for (const QByteArray &display : {QByteArray(), QByteArray(":4242"), QByteArray("x y")})
            QVERIFY(!X11HotKey(display).registerCombination(HotKey::quickPanelCombination));
    }
};

int main(int argc, char *argv[])
{
    testing::PrivateXServer xvfb;
    server = &xvfb;
    if (!xvfb.display().isEmpty()) {
        qputenv("DISPLAY", xvfb.display());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QGuiApplication app(argc, argv);
    TestHotKey test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_hotkey.moc"
