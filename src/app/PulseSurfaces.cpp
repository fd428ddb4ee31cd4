#include "app/PulseSurfaces.h"

#include "app/StatusItem.h"

PulseSurfaces::PulseSurfaces(ViewFactory makeView, QObject *parent)
    : QObject(parent), m_makeView(std::move(makeView)), m_popover(std::make_unique<PopoverWindow>())
{
    connect(m_popover.get(), &PopoverWindow::shown, this, &PulseSurfaces::opened);
}

PulseSurfaces::~PulseSurfaces() = default;

void PulseSurfaces::attach(StatusItem &item)
{
    connect(&item, &StatusItem::activated, this, &PulseSurfaces::togglePopover);
    connect(&item, &StatusItem::menuTriggered, this, [this](StatusItem::MenuEntry entry) {
        if (entry == StatusItem::MenuEntry::QuickPanel)
            toggleQuickPanel();
    });
}

void PulseSurfaces::togglePopover(QPoint anchor)
{
    if (!m_popover->content() && m_makeView)
        m_popover->setContent(m_makeView());
    m_popover->toggle(anchor);
}

void PulseSurfaces::toggleQuickPanel()
{
    // The two are independent: an open popover stays open beside the panel.
    ensureQuickPanel().toggle();
}

QuickPanel &PulseSurfaces::ensureQuickPanel()
{
    if (!m_quickPanel) {
        m_quickPanel = std::make_unique<QuickPanel>();
        if (m_makeView)
            m_quickPanel->setContent(m_makeView());
        connect(m_quickPanel.get(), &QuickPanel::shown, this, &PulseSurfaces::opened);
    }
    return *m_quickPanel;
}
