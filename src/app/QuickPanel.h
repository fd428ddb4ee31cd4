#pragma once

#include <QPointer>
#include <QWidget>
#include <optional>

// The floating panel the hot key brings up in the middle of the screen: frameless, above other
// windows, never in the task bar; it takes the keyboard (also from an open popover) and goes
// away on Escape or as soon as it loses focus. Dragging its background moves it; it stays where it
// was put until hidden.
class QuickPanel : public QWidget
{
    Q_OBJECT
public:
    explicit QuickPanel(QWidget *parent = nullptr);

    // Takes ownership; replaces (and deletes) the previous content.
    void setContent(QWidget *content);
    QWidget *content() const { return m_content; }

    // Hides a visible panel; otherwise sizes it to its content, places it on the primary
    // screen and gives it the keyboard.
    void toggle();

    QSize sizeHint() const override;

    static constexpr int cornerRadius = 14;

Q_SIGNALS:
    void shown();

protected:
    bool event(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QPointer<QWidget> m_content;
    // While the background is dragged by hand: where the pointer holds the panel.
    std::optional<QPoint> m_grip;
    bool m_passingKeyOn = false;
};
