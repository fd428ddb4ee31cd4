#pragma once

#include "account/AccountRecords.h"
#include "ui/Format.h"
#include "ui/Palette.h"
#include "ui/Symbols.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

class AuthStore;
class PulseStore;

namespace ui {

// Everything the popover depends on, as plain values.
struct PulseMenuInput
{
    // The public pulse.
    std::optional<double> returnPct;
    std::optional<double> vsSpyPct;
    qint64 openPositions = 0;
    QList<double> sparkline;
    std::optional<QDateTime> lastUpdate;
    std::optional<QString> pulseError;
    bool refreshing = false;
    std::optional<QDateTime> fetchedAt;

    // The account.
    bool isSignedIn = false;
    bool signingIn = false;
    std::optional<Portfolio> portfolio;
    std::optional<QDateTime> portfolioAsOf;
    std::optional<TodayDecision> todayDecision;
    std::optional<QString> accountError;
    QList<Position> positions;

    // Settings and surroundings.
    QString menuMetric = QStringLiteral("book");
    QString language = QStringLiteral("system");
    bool isPT = false;
    QDateTime now;
    FormatLocale locale;
    bool canCheckUpdates = false;

    // The view's own state.
    bool launchAtLogin = false;
    bool confirmingPause = false;
    bool confirmingEnable = false;
    bool togglingAuto = false;
};

// Fills the store fields of `input` from the live stores.
void readStores(PulseMenuInput &input, const PulseStore &pulse, const AuthStore &auth);

struct Line
{
    QString text;
    Tone tone = Tone::Primary;
    bool operator==(const Line &) const = default;
};

// A row led by a drawn symbol; the symbol takes the text's tone.
struct SymbolLine
{
    Symbol symbol;
    Line line;
    bool operator==(const SymbolLine &) const = default;
};

struct Button
{
    QString label;
    bool enabled = true;
    bool operator==(const Button &) const = default;
};

struct Choice
{
    QString label;
    QString value;
    bool operator==(const Choice &) const = default;
};

struct Picker
{
    QList<Choice> choices;
    int selected = -1; // -1: the stored value is none of the choices
    bool operator==(const Picker &) const = default;
};

enum class AutoControl { KillSwitch, AutoOn, Observer };

struct PositionRow
{
    QString symbol;
    std::optional<Line> change; // unrealised P/L in percent, as received
    QString marketValue;
    bool operator==(const PositionRow &) const = default;
};

struct AccountBlock
{
    QString title;
    std::optional<QDateTime> badgeDate; // the freshness badge ticks on this date
    std::optional<Freshness> badge;
    AutoControl autoControl = AutoControl::Observer;
    Line pill;
    std::optional<Button> autoButton; // "Pause" or "Enable"; none under the kill switch

    std::optional<QString> noBrokerage; // set: none of the figures below is shown
    QString equity;
    std::optional<Line> equityChange;
    std::optional<SymbolLine> today;
    SymbolLine positionCount;
    QList<PositionRow> positions;
    std::optional<QString> morePositions;
    std::optional<SymbolLine> decision;
    std::optional<SymbolLine> nextCycle;
    std::optional<QString> closingLine;
};

enum class PersonalState { SignedOut, Loading, Account };

struct PersonalSection
{
    PersonalState state = PersonalState::SignedOut;
    QString prompt;  // signed out
    Button signIn;   // signed out
    QString loading; // loading
    AccountBlock account;
    std::optional<Line> error; // under every state
};

struct PublicSection
{
    QString title;
    std::optional<Line> bigReturn; // absent: only `placeholder` shows under the title
    std::optional<QString> versusBenchmark;
    SymbolLine ideasOpen;
    std::optional<SymbolLine> lastUpdate;
    std::optional<QList<double>> sparkline;
    Tone sparklineTone = Tone::Gain;
    std::optional<QString> errorLine;
    QString placeholder;
};

struct Footer
{
    QString openMireo;
    Button refresh;
    std::optional<QString> signOut;
    QString quit;
    bool showMetric = false;
    QString metricLabel;
    Picker metric;
    QString startAtLogin;
    bool launchAtLogin = false;
    Picker language;
    std::optional<QString> updates;
    QString shortcut;
};

struct Confirmation
{
    QString title;
    QString confirm;
    QString cancel;
    std::optional<QString> message;
    bool open = false;
};

struct PulseMenuModel
{
    QString brand;
    QString strapline;
    PersonalSection personal;
    PublicSection publicBook;
    Footer footer;
    Confirmation pause;
    Confirmation enable;
};

// The popover's rules, in one place.
PulseMenuModel pulseMenuModel(const PulseMenuInput &input);

// How many positions the list shows before the "more in the app" line.
inline constexpr qsizetype shownPositions = 5;

} // namespace ui
