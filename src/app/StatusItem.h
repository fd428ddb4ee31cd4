#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>
#include <optional>

// The item in the desktop's panel: a short text title and a click that opens the popover.
// Implementations live under platform/; the app picks one at start-up.
class StatusItem : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual void setTitle(const QString &title) = 0;
    virtual void setToolTip(const QString &toolTip) = 0;
    virtual QString title() const = 0;
    // Where the item sits on screen, in global coordinates, when the panel tells us.
    virtual std::optional<QRect> geometry() const { return std::nullopt; }
    // True while a panel actually shows the item.
    virtual bool isVisible() const = 0;

Q_SIGNALS:
    // A click on the item; the point is in global coordinates, where the popover should appear.
    void activated(QPoint globalPos);
    void visibleChanged(bool visible);
};
