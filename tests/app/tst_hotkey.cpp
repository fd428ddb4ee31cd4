#include "platform/linux/PortalHotKey.h"
#include "platform/linux/X11HotKey.h"
#include "support/PrivateSessionBus.h"
#include "support/PrivateXServer.h"
#include "support/ProcessRun.h"

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <memory>

using namespace portal_shortcuts;
using namespace std::chrono_literals;

namespace {
testing::PrivateXServer *server = nullptr;

bool run(const QString &program, const QStringList &arguments)
{
    return testing::runToEnd(program, arguments, QProcessEnvironment::systemEnvironment())
               .exitCode == 0;
}

// Presses keys through XTEST, as a keyboard would; `keys` is a space-separated sequence.
bool press(const QString &keys)
{
    return run("xdotool", QStringList{"key", "--delay", "20"} + keys.split(' '));
}

// X delivers in order: once `sentinel`, pressed after `keys`, has activated, so has `keys`.
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

// The portal's global shortcuts, answering through each Request's Response.
class ShortcutsPortal : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)
public:
    ShortcutsPortal(QObject *parent, QDBusConnection bus) : QDBusAbstractAdaptor(parent), bus(bus)
    {
    }
    uint version() const { return 1; }

    QDBusConnection bus;
    bool answers = true;
    uint bindCode = 0; // anything but 0 refuses
    Shortcuts kept;
    QList<Shortcuts> bindings;
    QString session;

    void activate(const QString &sessionPath, const QString &id)
    {
        QDBusMessage signal = QDBusMessage::createSignal(QLatin1StringView(path),
                                                         QLatin1StringView(interface), "Activated");
        signal << QVariant::fromValue(QDBusObjectPath(sessionPath)) << id << qulonglong(1)
               << QVariantMap();
        bus.send(signal);
    }

public Q_SLOTS:
    QDBusObjectPath CreateSession(const QVariantMap &options, const QDBusMessage &message)
    {
        session = QString::fromLatin1(path) + "/session/caller/" +
                  options.value("session_handle_token").toString();
        return answer(message, options, {{"session_handle", session}});
    }
    QDBusObjectPath ListShortcuts(const QDBusObjectPath &, const QVariantMap &options,
                                  const QDBusMessage &message)
    {
        return answer(message, options, {{"shortcuts", QVariant::fromValue(kept)}});
    }
    // Spelt out in full: QtDBus knows the type by that name.
    QDBusObjectPath BindShortcuts(const QDBusObjectPath &,
                                  const QList<portal_shortcuts::Shortcut> &shortcuts,
                                  const QString &, const QVariantMap &options,
                                  const QDBusMessage &message)
    {
        bindings << shortcuts;
        return answer(message, options, {{"shortcuts", QVariant::fromValue(shortcuts)}}, bindCode);
    }

private:
    QDBusObjectPath answer(const QDBusMessage &call, const QVariantMap &options,
                           const QVariantMap &results, uint code = 0)
    {
        const QString request = QString::fromLatin1(path) + "/request/" +
                                call.service().mid(1).replace('.', '_') + '/' +
                                options.value("handle_token").toString();
        QTimer::singleShot(0, this, [this, request, results, code] {
            if (answers)
                bus.send(QDBusMessage::createSignal(request, QLatin1StringView(requestInterface),
                                                    "Response")
                         << code << results);
        });
        return QDBusObjectPath(request);
    }
};

} // namespace

// The quick panel's key, grabbed on X (Qt's connection or its own) or bound through the portal.
class TestHotKey : public QObject
{
    Q_OBJECT

    static void requireX()
    {
        if (!server || server->display().isEmpty())
            QSKIP("Xvfb is not installed");
        for (const char *tool : {"xdotool", "setxkbmap", "xmodmap"})
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                QSKIP(tool);
    }
    static std::unique_ptr<X11HotKey> make(bool shared)
    {
        return std::unique_ptr<X11HotKey>(shared ? X11HotKey::create()
                                                 : new X11HotKey(server->display()));
    }

private Q_SLOTS:
    void initTestCase() { registerTypes(); }

    // Lock keys do not matter, other modifiers do. The key is where K sits on a US keyboard in
    // any layout (Dvorak's "t", Russian "л"); the grab follows Num Lock to another modifier.
    void pressing_data()
    {
        QTest::addColumn<bool>("shared");
        QTest::addColumn<QStringList>("keymap"); // a command that changes it; empty: US
        QTest::addColumn<QString>("sentinel");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<int>("activations");
        const auto row = [](const char *keys, int activations, const char *sentinel = "alt+shift+k",
                            const QStringList &keymap = {}) {
            for (const bool shared : {true, false})
                QTest::addRow("%s, %s %s", shared ? "Qt's connection" : "own connection",
                              qPrintable(keymap.join(u' ')), keys)
                    << shared << keymap << QString::fromLatin1(sentinel)
                    << QString::fromLatin1(keys) << activations;
        };
        row("alt+shift+k Caps_Lock alt+shift+k Caps_Lock Num_Lock alt+shift+k Num_Lock Caps_Lock "
            "Num_Lock alt+shift+k Caps_Lock Num_Lock alt+shift+k",
            5);
        row("alt+k shift+k ctrl+alt+shift+k alt+shift+j", 0);
        row("alt+shift+k", 0, "alt+shift+t", {"setxkbmap", "-layout", "us", "-variant", "dvorak"});
        row("Caps_Lock alt+shift+Cyrillic_el Caps_Lock", 1, "alt+shift+Cyrillic_el",
            {"setxkbmap", "-layout", "ru"});
        row("Caps_Lock alt+shift+k Caps_Lock", 1, "alt+shift+k",
            {"setxkbmap", "-layout", "us,ru", "-option", "grp:caps_toggle"});
        row("alt+shift+k", 1, "Num_Lock alt+shift+k Num_Lock",
            {"xmodmap", "-e", "clear mod2", "-e", "clear mod3", "-e", "add mod3 = Num_Lock"});
    }
    void pressing()
    {
        requireX();
        QFETCH(bool, shared);
        QFETCH(QStringList, keymap);
        QFETCH(QString, sentinel);
        QFETCH(QString, keys);
        QFETCH(int, activations);
        // The row before lets go of the key when the server has closed its connection.
        std::unique_ptr<X11HotKey> hotKey;
        QVERIFY(QTest::qWaitFor(
            [&] {
                hotKey = make(shared);
                return hotKey->registerCombination(HotKey::quickPanelCombination);
            },
            3000));
        QSignalSpy activated(hotKey.get(), &HotKey::activated);
        // A fresh US keymap brings the usual modifiers back too.
        const auto restore = qScopeGuard([&keymap] {
            if (!keymap.isEmpty())
                run("setxkbmap", {"-layout", "us", "-option"});
        });
        if (!keymap.isEmpty()) {
            QVERIFY(run(keymap.first(), keymap.mid(1)));
            QVERIFY(pressUntilActivated(activated, sentinel));
        }
        QVERIFY(countAfter(activated, keys, sentinel, activations));
    }

    // Refused: a key another X client got first, a second combination, one X cannot name.
    void aCombinationTakenElsewhereStaysInert()
    {
        requireX();
        X11HotKey owner(server->display());
        QVERIFY(owner.registerCombination(HotKey::quickPanelCombination));
        QSignalSpy ownerActivated(&owner, &HotKey::activated);
        const std::unique_ptr<X11HotKey> late[] = {make(true), make(false)};
        for (const auto &hotKey : late)
            QVERIFY(!hotKey->registerCombination(HotKey::quickPanelCombination));
        QSignalSpy lateActivated[] = {{late[0].get(), &HotKey::activated},
                                      {late[1].get(), &HotKey::activated}};
        QVERIFY(press("alt+shift+k Caps_Lock alt+shift+k Caps_Lock"));
        QTRY_COMPARE(ownerActivated.size(), 2);
        QCOMPARE(lateActivated[0].size() + lateActivated[1].size(), 0);
        QVERIFY(!owner.registerCombination(Qt::AltModifier | Qt::Key_J));
        QVERIFY(
            !X11HotKey(server->display()).registerCombination(Qt::AltModifier | Qt::Key_Escape));
    }

    // A restart finds the binding listed and binds nothing. Only our session's shortcut toggles.
    void binding_data()
    {
        QTest::addColumn<QString>("portal");
        QTest::addColumn<bool>("bound");
        QTest::addColumn<int>("bindCalls");
        QTest::newRow("first run binds") << "fresh" << true << 1;
        QTest::newRow("restart finds the binding") << "kept" << true << 0;
        QTest::newRow("user cancels") << "cancelled" << false << 1;
        QTest::newRow("never answers") << "silent" << false << 0;
        QTest::newRow("no portal") << "absent" << false << 0;
    }
    void binding()
    {
        QFETCH(QString, portal);
        QFETCH(bool, bound);
        QFETCH(int, bindCalls);
        testing::PrivateSessionBus bus;
        QVERIFY(bus.isRunning());
        QDBusConnection desktop = bus.connect("portal");
        QObject object;
        ShortcutsPortal stand(&object, desktop);
        if (portal != "absent") {
            QVERIFY(desktop.registerObject(QLatin1StringView(path), &object));
            QVERIFY(desktop.registerService(QLatin1StringView(service)));
        }
        if (portal == "kept")
            stand.kept = {{QLatin1StringView(quickPanelId), {}}};
        stand.bindCode = portal == "cancelled" ? 1 : 0;
        stand.answers = portal != "silent";

        PortalHotKey key(bus.connect("app"), "Show or hide the quick panel", 300ms);
        QSignalSpy finished(&key, &PortalHotKey::finished);
        QSignalSpy activated(&key, &HotKey::activated);
        QVERIFY(!key.registerCombination(HotKey::quickPanelCombination));
        QVERIFY(finished.wait(2000));
        QCOMPARE(finished.first().first().toBool(), bound);
        QCOMPARE(stand.bindings.size(), bindCalls);
        if (bindCalls) {
            const Shortcut asked = stand.bindings.first().value(0);
            QCOMPARE(asked.id, u"quick-panel"_qs);
            QCOMPARE(asked.properties.value("preferred_trigger").toString(), u"ALT+SHIFT+k"_qs);
        }
        if (!bound)
            return;
        stand.activate(stand.session + "_other", QLatin1StringView(quickPanelId));
        stand.activate(stand.session, "other");
        stand.activate(stand.session, QLatin1StringView(quickPanelId));
        QVERIFY(activated.wait(2000));
        QTest::qWait(50);
        QCOMPARE(activated.size(), 1);
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
