#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>
#include <array>
#include <functional>
#include <optional>

// The item in the desktop's panel: a short text title and a click that opens the popover.
// Implementations live under platform/; the app picks one at start-up.
class StatusItem : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    virtual void setTitle(const QString &title) = 0;
    virtual QString title() const = 0;
    // Where the item sits on screen, in global coordinates, when the panel tells us.
    virtual std::optional<QRect> geometry() const { return std::nullopt; }
    // True while a panel actually shows the item.
    virtual bool isVisible() const = 0;

    // The tool tip is worded each time a panel reads it, so the age it gives is true when shown.
    void setToolTipSource(std::function<QString()> source)
    {
        m_toolTipSource = std::move(source);
        toolTipChanged();
    }
    QString toolTip() const { return m_toolTipSource ? m_toolTipSource() : QString(); }
    // The numbers behind the tool tip changed: panels that keep a copy are told to read it again.
    virtual void toolTipChanged() {}

    // The item's menu, where a panel offers one beside the click: its entries, in order.
    enum class MenuEntry { QuickPanel, Refresh, Quit };
    static constexpr std::array menuEntries{MenuEntry::QuickPanel, MenuEntry::Refresh,
                                            MenuEntry::Quit};
    // Worded each time a panel reads the menu, as the tool tip is.
    void setMenuLabelSource(std::function<QString(MenuEntry)> source)
    {
        m_menuLabelSource = std::move(source);
        menuLabelsChanged();
    }
    QString menuLabel(MenuEntry entry) const
    {
        return m_menuLabelSource ? m_menuLabelSource(entry) : QString();
    }
    // The language changed: panels that keep a copy of the menu are sent the new labels.
    virtual void menuLabelsChanged() {}

Q_SIGNALS:
    // A click on the item; the point is in global coordinates, where the popover should appear.
    void activated(QPoint globalPos);
    void visibleChanged(bool visible);
    void menuTriggered(StatusItem::MenuEntry entry);

private:
    std::function<QString()> m_toolTipSource;
    std::function<QString(MenuEntry)> m_menuLabelSource;
};
