#pragma once

#include "base/FrameTrace.h"
#include "ui/Format.h"
#include "ui/PulseMenuModel.h"
#include "ui/PulseMenuSections.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <QWidget>
#include <functional>

class AppSettings;
class AuthStore;
class Browser;
class LoginItem;
class PulseStore;
namespace base {
class Clock;
}

namespace ui {

class ConfirmationSheet;

// The popover's content: the brand, the user's account, the public book and the footer. It owns
// no data: it renders the stores and the settings on the next turn of the event loop after any
// of them changes, updating its widgets in place, and calls their operations. The pause and
// enable confirmations are sheets inside it, so the window that shows it stays open.
class PulseMenuView : public QWidget
{
    Q_OBJECT
public:
    struct Services
    {
        PulseStore &pulse;
        AuthStore &auth;
        AppSettings &settings;
        LoginItem &loginItem;
        Browser &browser;
        const base::Clock &clock;
        QUrl siteUrl; // the web origin; rows open its /portfolio page, "Open Mireo" its /home
    };

    // Without `onCheckUpdates` the "Updates" button is hidden.
    explicit PulseMenuView(Services services, std::function<void()> onCheckUpdates = {},
                           QWidget *parent = nullptr);

    // Where money, relative dates and times are formatted; the system's by default.
    void setFormatLocale(const FormatLocale &locale);

    // What the view shows now, from the stores as they are.
    PulseMenuInput currentInput() const;
    // Brings the widgets up to the current state at once rather than on the next turn.
    void renderNow();

Q_SIGNALS:
    // The content was brought up to date; its size may have changed.
    void rendered();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private Q_SLOTS:
    void scheduleRender();

private:
    MenuActions actions();
    void syncConfirmation(const PulseMenuModel &model);
    void answerConfirmation(bool confirmed);
    void setAutoExecution(bool enabled);
    void setLaunchAtLogin(bool on);
    void tickBadge();

    Services m_services;
    std::function<void()> m_onCheckUpdates;
    FormatLocale m_locale = FormatLocale::system();

    // The view's own state.
    bool m_launchAtLogin = false;
    bool m_confirmingPause = false;
    bool m_confirmingEnable = false;
    bool m_togglingAuto = false;

    bool m_renderPending = false;
    PulseMenuColumn *m_column = nullptr;
    std::optional<QDateTime> m_badgeDate;
    QTimer m_badgeTick;
    ConfirmationSheet *m_sheet;

    // With MIREO_TRACE_POPOVER=1, how long an update of the shown view takes from the render to
    // its painted frame (bench/run).
    const bool m_traceUpdates = base::popoverTraced();
    QElapsedTimer m_sinceRender;
};

} // namespace ui
