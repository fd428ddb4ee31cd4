#include "ui/OnboardingView.h"

#include "settings/AppSettings.h"
#include "settings/L.h"
#include "ui/Palette.h"
#include "ui/Symbols.h"
#include "ui/Widgets.h"

#include <QBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QTimer>

namespace ui {

namespace {

constexpr int viewWidth = 420;
constexpr int padding = 26;

// The step's number on a faint gold disc.
class StepNumber : public QWidget
{
public:
    explicit StepNumber(int number) : m_number(number)
    {
        setFixedSize(22, 22);
        setFont(uiFont(12, QFont::Bold));
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor disc = gold();
        disc.setAlphaF(0.18f);
        painter.setPen(Qt::NoPen);
        painter.setBrush(disc);
        painter.drawEllipse(QRectF(rect()));
        painter.setPen(gold().darker(130));
        painter.setFont(font());
        painter.drawText(rect(), Qt::AlignCenter, QString::number(m_number));
    }

private:
    int m_number;
};

} // namespace

OnboardingView::OnboardingView(AppSettings &settings, QWidget *parent) : QWidget(parent)
{
    setFixedWidth(viewWidth);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(18);

    auto *brand = new QHBoxLayout;
    brand->setSpacing(8);
    brand->addWidget(new GoldDot(9));
    brand->addWidget(
        new ToneLabel(QStringLiteral("MIREO"), Tone::Primary, uiFont(14, QFont::Bold, 4)));
    brand->addStretch(1);
    column->addLayout(brand);

    m_tagline = new ToneLabel(QString(), Tone::Secondary, uiFont(13));
    m_tagline->setWordWrap(true);
    column->addWidget(m_tagline);

    auto *steps = new QVBoxLayout;
    steps->setSpacing(10);
    for (int number = 1; number <= 3; ++number) {
        auto *row = new QHBoxLayout;
        row->setSpacing(10);
        row->addWidget(new StepNumber(number), 0, Qt::AlignTop);
        auto *label = new ToneLabel(QString(), Tone::Primary, uiFont(12));
        label->setObjectName(QStringLiteral("step%1").arg(number));
        label->setWordWrap(true);
        row->addWidget(label, 1);
        m_steps.append(label);
        steps->addLayout(row);
    }
    column->addLayout(steps);

    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(0, 4, 0, 0);
    m_later = new QPushButton;
    m_later->setObjectName(QStringLiteral("later"));
    m_later->setFont(uiFont(12));
    // A plain button: its text alone, no bezel, in line with the column.
    m_later->setFlat(true);
    m_later->setCursor(Qt::PointingHandCursor);
    m_later->setStyleSheet(QStringLiteral("QPushButton { border: none; padding: 5px 0; }"));
    m_signIn = new QPushButton;
    m_signIn->setObjectName(QStringLiteral("signIn"));
    m_signIn->setFont(uiFont(12, QFont::DemiBold));
    m_signIn->setDefault(true);
    m_signIn->setStyleSheet(
        QStringLiteral("QPushButton { background-color: %1; color: #1d1d1f; border: none;"
                       " border-radius: 5px; padding: 5px 6px; }"
                       "QPushButton:pressed { background-color: %2; }")
            .arg(gold().name(), gold().darker(115).name()));
    buttons->addWidget(m_later);
    buttons->addStretch(1);
    buttons->addWidget(m_signIn);
    column->addLayout(buttons);

    connect(m_later, &QPushButton::clicked, this, &OnboardingView::closeRequested);
    connect(m_signIn, &QPushButton::clicked, this, &OnboardingView::signInRequested);
    connect(&settings, &AppSettings::languageChanged, this,
            [this] { QTimer::singleShot(0, this, &OnboardingView::retranslate); });
    retranslate();
}

void OnboardingView::retranslate()
{
    m_tagline->setText(L::text("The pulse of your money, always on your menu bar.",
                               "O pulso do teu dinheiro, sempre na barra de menu."));
    m_steps[0]->setText(
        L::text("Sign in to see your own account — equity, positions and today's decision.",
                "Inicia sessão para veres a tua conta — equity, posições e a decisão do dia."));
    m_steps[1]->setText(
        L::text("Press ⌥⇧K anywhere to open the pulse without touching the mouse.",
                "Carrega ⌥⇧K em qualquer lado para abrir o pulso sem tocar no rato."));
    m_steps[2]->setText(
        L::text("Allow notifications: daily decision, fills and safety alerts find you.",
                "Permite notificações: decisão do dia, execuções e alertas de segurança vêm ter "
                "contigo."));
    m_later->setText(L::text("Later", "Mais tarde"));
    m_signIn->setText(L::text("Sign in with Mireo", "Iniciar sessão na Mireo"));
    // Wrapped steps grow downwards; the window takes the height they need.
    layout()->activate();
    setFixedHeight(layout()->totalHeightForWidth(viewWidth));
}

} // namespace ui
