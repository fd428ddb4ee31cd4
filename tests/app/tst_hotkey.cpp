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

// Presses keys through XTEST, as a keyboard would; `keys` is a space-separated sequence.
bool press(const QString &keys)
{
    QProcess xdotool;
    xdotool.start("xdotool", QStringList{"key", "--delay", "20"} + keys.split(' '));
    return xdotool.waitForFinished(10000) && xdotool.exitCode() == 0;
}

// Switches the server's keyboard layout, as a desktop's layout switcher does.
bool useLayout(const QString &layout)
{
    QProcess setxkbmap;
    setxkbmap.start("setxkbmap", layout.split(' '));
    return setxkbmap.waitForFinished(10000) && setxkbmap.exitCode() == 0;
}
} // namespace

class TestHotKey : public QObject
{
    Q_OBJECT

    void requireX()
    {
        if (!server || server->display().isEmpty())
            QSKIP("Xvfb is not installed");
        if (QStandardPaths::findExecutable("xdotool").isEmpty())
            QSKIP("xdotool is not installed");
    }

    // Presses `keys`, then `sentinel`, which activates: X delivers in order, so once the
    // sentinel's activation is here, so is whatever `keys` did.
    static bool countAfter(QSignalSpy &activated, const QString &keys, const QString &sentinel,
                           int expected)
    {
        activated.clear();
        if (!press(keys) || !press(sentinel))
            return false;
        return QTest::qWaitFor([&] { return activated.size() > expected; }, 5000) &&
               activated.size() == expected + 1;
    }

    // Presses `keys` until they activate: a keymap change reaches the app in its own time.
    static bool pressUntilActivated(QSignalSpy &activated, const QString &keys)
    {
        activated.clear();
        for (int attempt = 0; attempt < 25; ++attempt)
            if (!press(keys) || QTest::qWaitFor([&] { return !activated.isEmpty(); }, 200))
                return !activated.isEmpty();
        return false;
    }

    std::unique_ptr<X11HotKey> make(bool shared)
    {
        return std::unique_ptr<X11HotKey>(shared ? X11HotKey::create()
                                                 : new X11HotKey(server->display()));
    }

private Q_SLOTS:
    void pressing_data()
    {
        QTest::addColumn<bool>("shared");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<int>("activations");
        const QList<std::pair<const char *, int>> rows{
            {"alt+shift+k", 1},
            {"Caps_Lock alt+shift+k Caps_Lock", 1},
            {"Num_Lock alt+shift+k Num_Lock", 1},
            {"Caps_Lock Num_Lock alt+shift+k Caps_Lock Num_Lock", 1},
            {"alt+shift+k alt+shift+k", 2},
            {"alt+k shift+k ctrl+alt+shift+k alt+shift+j", 0}};
        for (const bool shared : {true, false})
            for (const auto &[keys, activations] : rows)
                QTest::addRow("%s, %s", shared ? "Qt's connection" : "own connection", keys)
                    << shared << QString::fromLatin1(keys) << activations;
    }
    void pressing()
    {
        requireX();
        QFETCH(bool, shared);
        QFETCH(QString, keys);
        QFETCH(int, activations);
        const std::unique_ptr<X11HotKey> hotKey = make(shared);
        QVERIFY(hotKey->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy activated(hotKey.get(), &HotKey::activated);
        QVERIFY(countAfter(activated, keys, "alt+shift+k", activations));
    }

    // The key where K sits on a US keyboard, whatever the layout: under Dvorak it types "t",
    // under Russian "л"; the key that types "k" there is another one. The layout is set before
    // the grab, or changed while it is held.
    void physicalKeyAcrossLayouts_data()
    {
        QTest::addColumn<bool>("shared");
        QTest::addColumn<bool>("changeWhileHeld");
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QString>("keys"); // activates once
        QTest::addColumn<QString>("inert");
        const QList<std::tuple<const char *, const char *, const char *>> rows{
            {"-layout us -variant dvorak", "alt+shift+t", "alt+shift+k"},
            {"-layout ru", "Caps_Lock alt+shift+Cyrillic_el Caps_Lock", "alt+shift+k"},
            {"-layout us,ru -option grp:caps_toggle", "alt+shift+k", ""}};
        for (const bool shared : {true, false})
            for (const bool change : {false, true})
                for (const auto &[layout, keys, inert] : rows)
                    QTest::addRow("%s, %s, %s", shared ? "Qt's connection" : "own connection",
                                  change ? "changed while held" : "set before", layout)
                        << shared << change << QString::fromLatin1(layout)
                        << QString::fromLatin1(keys) << QString::fromLatin1(inert);
    }
    void physicalKeyAcrossLayouts()
    {
        requireX();
        if (QStandardPaths::findExecutable("setxkbmap").isEmpty())
            QSKIP("setxkbmap is not installed (x11-xkb-utils)");
        QFETCH(bool, shared);
        QFETCH(bool, changeWhileHeld);
        QFETCH(QString, layout);
        QFETCH(QString, keys);
        QFETCH(QString, inert);
        const auto restore = qScopeGuard([] { useLayout("-layout us -option"); });

        if (!changeWhileHeld)
            QVERIFY(useLayout(layout));
        const std::unique_ptr<X11HotKey> hotKey = make(shared);
        QVERIFY(hotKey->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy activated(hotKey.get(), &HotKey::activated);
        if (changeWhileHeld)
            QVERIFY(useLayout(layout));
        QVERIFY(pressUntilActivated(activated, keys));
        if (!inert.isEmpty())
            QVERIFY(countAfter(activated, inert, keys, 0));
    }

    // Num Lock moved to another modifier while the grab is held (a new keymap can do that):
    // the grab follows, so the key still works with Num Lock on.
    void followsALockModifierThatMoves_data()
    {
        QTest::addColumn<bool>("shared");
        QTest::newRow("Qt's connection") << true;
        QTest::newRow("own connection") << false;
    }
    void followsALockModifierThatMoves()
    {
        requireX();
        if (QStandardPaths::findExecutable("xmodmap").isEmpty())
            QSKIP("xmodmap is not installed (x11-xserver-utils)");
        QFETCH(bool, shared);
        const auto xmodmap = [](const QStringList &expressions) {
            QStringList arguments;
            for (const QString &expression : expressions)
                arguments << "-e" << expression;
            QProcess process;
            process.start("xmodmap", arguments);
            return process.waitForFinished(10000) && process.exitCode() == 0;
        };
        const auto restore = qScopeGuard([&] {
            (void)xmodmap({"clear mod3", "clear mod2", "add mod2 = Num_Lock"});
        });
        const std::unique_ptr<X11HotKey> hotKey = make(shared);
        QVERIFY(hotKey->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy activated(hotKey.get(), &HotKey::activated);
        QVERIFY(xmodmap({"clear mod2", "clear mod3", "add mod3 = Num_Lock"}));
        QVERIFY(pressUntilActivated(activated, "Num_Lock alt+shift+k Num_Lock"));
        QVERIFY(countAfter(activated, "alt+shift+k", "Num_Lock alt+shift+k Num_Lock", 1));
    }

    void aCombinationTakenElsewhereStaysInert_data()
    {
        QTest::addColumn<bool>("shared");
        QTest::newRow("Qt's connection") << true;
        QTest::newRow("own connection") << false;
    }
    void aCombinationTakenElsewhereStaysInert()
    {
        requireX();
        QFETCH(bool, shared);
        // Another X client got there first.
        X11HotKey owner(server->display());
        QVERIFY(owner.registerCombination(HotKey::quickPanelCombination));
        QSignalSpy ownerActivated(&owner, &HotKey::activated);

        const std::unique_ptr<X11HotKey> late = make(shared);
        QVERIFY(!late->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy lateActivated(late.get(), &HotKey::activated);
        QVERIFY(press("alt+shift+k"));
        QVERIFY(press("Caps_Lock alt+shift+k Caps_Lock"));
        QTRY_COMPARE(ownerActivated.size(), 2);
        QCOMPARE(lateActivated.size(), 0);
    }

    void refusesASecondOrUnnamableCombination()
    {
        requireX();
        X11HotKey once(server->display());
        QVERIFY(once.registerCombination(HotKey::quickPanelCombination));
        QVERIFY(!once.registerCombination(Qt::AltModifier | Qt::Key_J));
        X11HotKey unnamable(server->display());
        QVERIFY(!unnamable.registerCombination(Qt::AltModifier | Qt::Key_Escape));
    }

    void withoutAnXServer_data()
    {
        QTest::addColumn<QByteArray>("display");
        QTest::newRow("no DISPLAY") << QByteArray();
        QTest::newRow("nobody there") << QByteArray(":4242");
        QTest::newRow("garbage") << QByteArray("not a display");
    }
    void withoutAnXServer()
    {
        QFETCH(QByteArray, display);
        X11HotKey hotKey(display);
        QVERIFY(!hotKey.hasConnection());
        QVERIFY(!hotKey.registerCombination(HotKey::quickPanelCombination));
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
