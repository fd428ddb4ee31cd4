#include "notify/NotificationStore.h"

#include "account/AuthStore.h"
#include "base/FixedDecimal.h"
#include "base/Publish.h"
#include "notify/Notifier.h"
#include "notify/TradeRecords.h"
#include "settings/Defaults.h"
#include "settings/L.h"
#include "settings/SettingsKeys.h"

#include <QCoreApplication>
#include <QPointer>
#include <algorithm>

namespace {
const QString swingPath = QStringLiteral("api/mobile/signals/swing");
const QString tradesPath = QStringLiteral("api/mobile/trades");

// Timestamps are compared as the server wrote them, not parsed: by Unicode scalar order of the
// canonical form, which UTF-8 bytes of the NFC text give (plain byte order for ASCII).
QByteArray textOrder(const QString &text)
{
    return text.normalized(QString::NormalizationForm_C).toUtf8();
}

struct Fill
{
    QByteArray order;
    const Trade *trade;
};

QString fillBody(const Trade &trade)
{
    QString body =
        trade.side.value_or(QStringLiteral("trade")).toUpper() + QLatin1Char(' ') + trade.symbol;
    if (trade.fillPrice)
        body += QStringLiteral(" @ $") + base::fixedDecimal(*trade.fillPrice, 2);
    return body;
}
} // namespace

NotificationStore::NotificationStore(Notifier &notifier, Defaults &defaults, QObject *parent)
    : QObject(parent), m_notifier(notifier), m_defaults(defaults)
{
}

void NotificationStore::requestPermission()
{
    QPointer<NotificationStore> self(this);
    m_notifier.requestPermission(
        Notifier::Permission::Alert | Notifier::Permission::Sound, [self](bool granted) {
            // Whatever thread answers, the flag is written on the main thread.
            QMetaObject::invokeMethod(QCoreApplication::instance(), [self, granted] {
                if (self)
                    self->setEnabled(granted);
            });
        });
}

QCoro::Task<> NotificationStore::check(AuthStore &auth)
{
    // The gate is looked at once: a sign-out during the requests does not stop the later steps.
    if (!m_enabled || !auth.isSignedIn())
        co_return;
    QPointer<NotificationStore> self(this);
    QPointer<AuthStore> account(&auth);
    co_await checkDecision(auth);
    if (!self || !account)
        co_return;
    co_await checkFills(auth);
    if (!self || !account)
        co_return;
    // Read now, after the awaits: the latest portfolio.
    checkKillSwitch(auth.portfolio());
}

// Each check reads, compares and writes its mark in one step after its response has arrived,
// so two overlapping checks never announce the same value twice.

QCoro::Task<> NotificationStore::checkDecision(AuthStore &auth)
{
    QPointer<NotificationStore> self(this);
    const std::optional<QByteArray> data = co_await auth.bearerGET(swingPath);
    if (!self || !data)
        co_return;
    const std::optional<SwingResponse> swing = decodeSwing(*data);
    if (!swing || !swing->decidedAt)
        co_return;
    const QString &decidedAt = *swing->decidedAt;
    const std::optional<QString> previous = m_defaults.string(settings_keys::lastDecisionAt);
    if (previous == decidedAt)
        co_return;
    writeMark(settings_keys::lastDecisionAt, decidedAt);
    // The first decision ever seen only sets the mark: installing the app never announces a
    // decision that already exists.
    if (!previous)
        co_return;

    QStringList symbols;
    for (const Signal &signal : swing->signals)
        symbols.append(signal.symbol);
    const QString body =
        symbols.isEmpty()
            ? L::text("No trade today. Discipline is part of the edge.",
                      "Hoje sem opera\u00E7\u00E3o. A disciplina faz parte.")
            : L::text("Today's signals: ", "Sinais de hoje: ") + symbols.join(QStringLiteral(", "));
    post(QStringLiteral("decision-") + decidedAt, L::text("Mireo decided", "A Mireo decidiu"),
         body);
}

QCoro::Task<> NotificationStore::checkFills(AuthStore &auth)
{
    QPointer<NotificationStore> self(this);
    const std::optional<QByteArray> data = co_await auth.bearerGET(tradesPath);
    if (!self || !data)
        co_return;
    const std::optional<TradesResponse> response = decodeTrades(*data);
    if (!response)
        co_return;

    // Only trades with a fill time are fills, whatever their status says.
    QList<Fill> fills;
    for (const Trade &trade : response->trades) {
        if (trade.filledAt)
            fills.append(Fill{textOrder(*trade.filledAt), &trade});
    }
    if (fills.isEmpty())
        co_return;
    std::stable_sort(fills.begin(), fills.end(),
                     [](const Fill &a, const Fill &b) { return a.order < b.order; });

    const QString &newest = *fills.last().trade->filledAt;
    const std::optional<QString> previous = m_defaults.string(settings_keys::lastFillAt);
    // Unconditionally, so the mark follows the server even backwards.
    writeMark(settings_keys::lastFillAt, newest);
    if (!previous)
        co_return;
    const QByteArray previousOrder = textOrder(*previous);
    if (!(previousOrder < fills.last().order))
        co_return;

    for (const Fill &fill : fills) {
        if (fill.order <= previousOrder)
            continue;
        const Trade &trade = *fill.trade;
        post(QStringLiteral("fill-") + *trade.filledAt + QLatin1Char('-') + trade.symbol,
             L::text("Order filled", "Ordem executada"), fillBody(trade));
    }
}

void NotificationStore::checkKillSwitch(const std::optional<Portfolio> &portfolio)
{
    if (!portfolio || !portfolio->worker)
        return;
    const bool on = portfolio->worker->killSwitch.value_or(false);
    // A mark never written reads as off, so unlike the other checks the first sighting of the
    // switch on is announced.
    const bool was = m_defaults.boolean(settings_keys::killSwitchOn).value_or(false);
    m_defaults.setBoolean(settings_keys::killSwitchOn, on);
    m_defaults.sync();
    if (on == was)
        return;
    if (on) {
        post(QStringLiteral("killswitch-on"),
             L::text("Kill switch activated", "Kill switch ativado"),
             L::text("Mireo stopped executing on your account. Check the app.",
                     "A Mireo parou de executar na tua conta. V\u00EA a app."));
    } else {
        post(QStringLiteral("killswitch-off"), L::text("Kill switch cleared", "Kill switch limpo"),
             L::text("Automatic execution is available again.",
                     "A execu\u00E7\u00E3o autom\u00E1tica voltou a estar dispon\u00EDvel."));
    }
}

void NotificationStore::post(const QString &identifier, const QString &title, const QString &body)
{
    m_notifier.deliver(Notifier::Notification{identifier, title, body, /*defaultSound=*/true});
}

void NotificationStore::writeMark(const QString &key, const QString &value)
{
    m_defaults.setString(key, value);
    // On disk before anything is posted: a crash right after must not announce it again.
    m_defaults.sync();
}

void NotificationStore::setEnabled(bool value)
{
    base::publish(this, m_enabled, value, &NotificationStore::enabledChanged);
}
