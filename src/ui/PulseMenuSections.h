#pragma once

#include "ui/PulseMenuModel.h"

#include <QString>
#include <functional>

class QWidget;

namespace ui {

class FreshnessBadgeView;

// What the popover's controls do; the view fills these in.
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

struct BuiltMenu
{
    QWidget *content = nullptr;
    FreshnessBadgeView *badge = nullptr; // the account's freshness badge, if shown
};

// The popover's column at its fixed width (plus the spill on each side) and the height its
// texts need, built from the model.
BuiltMenu buildPulseMenu(const PulseMenuModel &model, const MenuActions &actions);

inline constexpr int menuContentWidth = 344;
inline constexpr int menuPadding = 14;
// The built column is wider than the content by this much on each side, taken from the padding:
// room for the chart's end dot, which may spill past the column.
inline constexpr int menuSpill = 2;

} // namespace ui
