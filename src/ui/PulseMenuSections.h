#pragma once

#include "ui/PulseMenuModel.h"

#include <QString>
#include <QWidget>
#include <functional>

namespace ui {

class AccountView;
class DecisionView;
class FooterView;
class FreshnessBadgeView;
class HeaderView;
class PositionsView;
class PublicBookView;
class ToneLabel;

// What the popover's controls do; the view fills these in. They are wired once, when the
// column is built, so they act on the view's state as it is when clicked.
struct MenuActions
{
    std::function<void()> signIn;
    std::function<void()> pause;
    std::function<void()> enable;
    std::function<void()> openPortfolio;
    std::function<void()> openHome;
    std::function<void()> refresh;
    std::function<void()> signOut;
    std::function<void()> quit;
    std::function<void()> checkUpdates;
    std::function<void(const QString &)> setMetric;
    std::function<void(const QString &)> setLanguage;
    std::function<void(bool)> setLaunchAtLogin;
};

// The popover's column at its fixed width (plus the spill on each side). Its sections are built
// once; `apply` brings each up to the model in place, showing and hiding what the model adds
// and leaves out, so an open drop-down, the focus and the pointer's row outlive every update.
class PulseMenuColumn : public QWidget
{
public:
    explicit PulseMenuColumn(const MenuActions &actions = {}, QWidget *parent = nullptr);

    // Shows `model`, at the height its texts need.
    void apply(const PulseMenuModel &model);
    // The account's freshness badge; hidden while the model has none.
    FreshnessBadgeView *badge() const;

private:
    void fitHeight();

    HeaderView *m_header;
    AccountView *m_account;
    PositionsView *m_positions;
    DecisionView *m_decision;
    ToneLabel *m_accountError;
    PublicBookView *m_public;
    FooterView *m_footer;
};

inline constexpr int menuContentWidth = 344;
inline constexpr int menuPadding = 14;
// The built column is wider than the content by this much on each side, taken from the padding:
// room for the chart's end dot, which may spill past the column.
inline constexpr int menuSpill = 2;

} // namespace ui
