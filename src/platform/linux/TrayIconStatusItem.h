#pragma once

#include "app/StatusItem.h"

#include <QSystemTrayIcon>

// For desktops without a StatusNotifierWatcher: Qt's tray icon, which has no text beside it,
// so the title becomes its tool tip.
class TrayIconStatusItem : public StatusItem
{
    Q_OBJECT
public:
    explicit TrayIconStatusItem(QObject *parent = nullptr);

    void setTitle(const QString &title) override;
    void setToolTip(const QString &toolTip) override;
    QString title() const override { return m_title; }
    std::optional<QRect> geometry() const override;
    bool isVisible() const override;

private:
    void showToolTip();

    QSystemTrayIcon m_icon;
    QString m_title;
    QString m_toolTip;
};
