#pragma once

#include <QPointer>
#include <QWidget>

// The floating panel the hot key brings up in the middle of the screen: frameless, above other
// windows, never in the task bar; it takes the keyboard and goes away on Escape or as soon as
// it loses focus.
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
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QPointer<QWidget> m_content;
};
