#pragma once

#include "app/PopoverWindow.h"
#include "app/QuickPanel.h"

#include <functional>
#include <memory>

class StatusItem;

// The two places the pulse view appears: the popover under the panel item and the quick panel
// the hot key (or a mireopulse://open link) brings up in the middle of the screen. Each surface
// builds its own view from the factory when it is first shown, then keeps it.
class PulseSurfaces : public QObject
{
    Q_OBJECT
public:
    using ViewFactory = std::function<QWidget *()>;

    explicit PulseSurfaces(ViewFactory makeView = {}, QObject *parent = nullptr);
    ~PulseSurfaces() override;

    // A click on the item toggles the popover at the click; its menu entry, the quick panel.
    void attach(StatusItem &item);

    void togglePopover(QPoint anchor);
    void toggleQuickPanel();

    PopoverWindow &popover() { return *m_popover; }
    // Absent until the quick panel is first asked for.
    QuickPanel *quickPanel() const { return m_quickPanel.get(); }

Q_SIGNALS:
    // A surface was shown: what is stale gets refreshed.
    void opened();

private:
    QuickPanel &ensureQuickPanel();

    ViewFactory m_makeView;
    std::unique_ptr<PopoverWindow> m_popover;
    std::unique_ptr<QuickPanel> m_quickPanel;
};
