#pragma once

#include <QWidget>

class AppSettings;
class QLabel;
class QPushButton;

namespace ui {

class ToneLabel;

// The first-run window's content: one sentence, three numbered steps and two buttons. What the
// buttons do beyond announcing themselves is up to the window that hosts it.
class OnboardingView : public QWidget
{
    Q_OBJECT
public:
    explicit OnboardingView(AppSettings &settings, QWidget *parent = nullptr);

Q_SIGNALS:
    void signInRequested();
    void closeRequested();

private:
    // Sets every text in the current language and fits the height to the wrapped steps.
    void retranslate();

    ToneLabel *m_tagline = nullptr;
    QList<ToneLabel *> m_steps;
    QPushButton *m_later = nullptr;
    QPushButton *m_signIn = nullptr;
};

} // namespace ui
