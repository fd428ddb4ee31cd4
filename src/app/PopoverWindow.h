#pragma once

#include "base/FrameTrace.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QWidget>
#include <memory>

// The popover under the panel item: a frameless popup that hosts one content widget, closes on
// a click anywhere else and stays inside the screen of the click.
class QScreen;

class PopoverWindow : public QWidget
{
    Q_OBJECT
public:
    explicit PopoverWindow(QWidget *parent = nullptr);
    ~PopoverWindow() override;

    // Takes ownership; replaces (and deletes) the previous content.
    void setContent(QWidget *content);
    QWidget *content() const { return m_content; }

    // Shows the popover at the anchor (global coordinates), or closes it when it is shown.
    void toggle(QPoint anchor);
    void showAt(QPoint anchor);

    QSize sizeHint() const override;

Q_SIGNALS:
    void shown();

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void showShield(QScreen *screen);

    QPointer<QWidget> m_content;
    // Under XWayland, clicks into native Wayland windows and the desktop never reach an X
    // client, so the popup's grab cannot see them. A transparent window over the rest of the
    // screen, below the panels, catches them instead.
    std::unique_ptr<QWidget> m_shield;
    // The click on the panel item that closes an open popover first reaches us as a click
    // outside; the item's activation follows a moment later and must not reopen it.
    QElapsedTimer m_sinceHidden;
    // With MIREO_TRACE_POPOVER=1, how long from showing to the first painted frame (bench/run).
    const bool m_tracePaint = base::popoverTraced();
    QElapsedTimer m_sinceShown;
};
