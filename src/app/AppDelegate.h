#pragma once

#include "app/Headless.h"
#include "app/PulseSurfaces.h"
#include "app/Updates.h"
#include "platform/linux/QtScreen.h"
#include "platform/linux/XdgAutostart.h"
#include "settings/SettingsFileWatcher.h"

#include <QPointer>
#include <QTimer>
#include <memory>

class DesktopHotKey;
class StatusItem;
class QWidget;

// The desktop app: owns the services, the panel item, the popover and the quick panel, and
// starts them in their fixed order. Lives for the whole process.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    explicit AppDelegate(QObject *parent = nullptr);
    ~AppDelegate() override;

    // The launch sequence: panel item, surfaces, title, notifications, polling, hot key,
    // first-run window, notch check and probe.
    void didFinishLaunching();

    // A mireopulse: URL, from our command line or the bus.
    void handleUrl(const QString &url);
    void toggleQuickPanel();
    // As a click on the panel item at this point does.
    void togglePopover(QPoint anchor) { m_surfaces.togglePopover(anchor); }

    QString menuTitle() const { return m_services.core.menuTitle(); }
    AppCore &core() { return m_services.core; }

Q_SIGNALS:
    // The title was set again after a change: what the panel and the bus show.
    void titleUpdated();

private:
    QWidget *makePulseView();
    void updateTitle();
    void maybeShowOnboarding();
    void showUpdateNotice(const UpdateNotice &notice);

    HeadlessServices m_services;
    SettingsFileWatcher m_settingsWatcher;
    UpdateChecker m_updater;
    XdgAutostart m_loginItem;
    QtScreen m_screens;
    std::unique_ptr<StatusItem> m_statusItem;
    PulseSurfaces m_surfaces;
    DesktopHotKey *m_hotKey = nullptr;
    QPointer<QWidget> m_onboardingWindow;
    // Coalesces the change announcements of a turn into one title update on the next turn.
    QTimer m_titleTimer;
};
