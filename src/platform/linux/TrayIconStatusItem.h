#pragma once

#include "app/StatusItem.h"

#include <QSystemTrayIcon>

// For desktops without a StatusNotifierWatcher: Qt's tray icon, which has no text beside it,
// so its tool tip is the title, or the summary that starts with it.
class TrayIconStatusItem : public StatusItem
{
    Q_OBJECT
public:
    explicit TrayIconStatusItem(QObject *parent = nullptr);

    void setTitle(const QString &title) override;
    void toolTipChanged() override { showToolTip(); }
    QString title() const override { return m_title; }
    std::optional<QRect> geometry() const override;
    bool isVisible() const override;

private:
    void showToolTip();

    QSystemTrayIcon m_icon;
    QString m_title;
};
