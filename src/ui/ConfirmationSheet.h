#pragma once

#include "ui/PulseMenuModel.h"

#include <QPointer>
#include <QWidget>

class QPushButton;

namespace ui {

class ToneLabel;

// A confirmation drawn inside the view that asks it, over its dimmed content: the title, the
// message, the confirming action and Cancel. It lives in the same window, so the popover and
// the quick panel stay open while it asks. The keyboard stays inside it: Return and Space press
// the focused answer (Cancel at first), Tab moves between the two, Escape cancels.
class ConfirmationSheet : public QWidget
{
    Q_OBJECT
public:
    // A window whose corners are rounded sets this property to their radius.
    static constexpr char cornerRadiusProperty[] = "mireoCornerRadius";

    // Covers `host` and follows its size; hidden until asked.
    explicit ConfirmationSheet(QWidget *host);

    // The texts follow the language while the sheet is open.
    void setTexts(const Confirmation &texts);
    void ask();

Q_SIGNALS:
    // Once per question: true for the confirming action.
    void answered(bool confirmed);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    void answer(bool confirmed);
    void place();

    QWidget *m_card;
    ToneLabel *m_title;
    ToneLabel *m_message;
    QPushButton *m_confirm;
    QPushButton *m_cancel;
    QPointer<QWidget> m_askedFrom;
};

} // namespace ui
