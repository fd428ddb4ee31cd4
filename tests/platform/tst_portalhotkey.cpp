#include "platform/linux/PortalHotKey.h"
#include "support/PrivateSessionBus.h"

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace portal_shortcuts;
using namespace std::chrono_literals;

namespace {

// A stand-in of the desktop portal's global shortcuts: answers each request through its
// Request object's Response, keeps what was bound across sessions as the real one does.
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
    std::optional<uint> answerCode = 0; // none: never answers
    uint bindCode = 0;
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
        if (bindCode == 0)
            kept = shortcuts;
        return answer(message, options, {{"shortcuts", QVariant::fromValue(shortcuts)}}, bindCode);
    }

private:
    QDBusObjectPath answer(const QDBusMessage &call, const QVariantMap &options,
                           const QVariantMap &results, uint code = 0)
    {
        const QString request = QString::fromLatin1(path) + "/request/" +
                                call.service().mid(1).replace('.', '_') + '/' +
                                options.value("handle_token").toString();
        if (answerCode) {
            QTimer::singleShot(0, this, [this, request, results, code = code ? code : *answerCode] {
                QDBusMessage response = QDBusMessage::createSignal(
                    request, QLatin1StringView(requestInterface), "Response");
                response << code << results;
                bus.send(response);
            });
        }
        return QDBusObjectPath(request);
    }
};

} // namespace

class TestPortalHotKey : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerTypes(); }

    // Bound once and kept by the portal: a restart finds it listed and binds nothing; a portal
    // that refuses (any code but 0), never answers or is not there leaves the key unbound. Only
    // our session's shortcut toggles.
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
        if (portal == "silent")
            stand.answerCode.reset();

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

QTEST_GUILESS_MAIN(TestPortalHotKey)
#include "tst_portalhotkey.moc"
