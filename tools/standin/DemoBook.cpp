#include "DemoBook.h"

#include <algorithm>

namespace standin {

namespace {

constexpr double kStartReturn = 8.0;
constexpr double kStartVsSpy = 2.5;
// A weak pull towards the start keeps a long run plausible while still letting it go negative.
constexpr double kPull = 0.001;

} // namespace

DemoBook::DemoBook(quint64 seed) : m_rng(seed)
{
    m_points.push_back(Point{kStartReturn, kStartVsSpy, {3, 5, 1}});
    setClock([] { return QDateTime::currentDateTimeUtc(); });
}

void DemoBook::setClock(Clock now)
{
    m_now = std::move(now);
    m_start = m_now();
    m_lastAdvance = m_start;
    m_manualSteps = 0;
}

void DemoBook::setStepSeconds(double seconds)
{
    // Fold the ticks so far into the manual count so the current step stays where it is.
    const QDateTime updated = lastUpdate();
    m_manualSteps = step();
    m_start = m_now();
    m_lastAdvance = updated;
    constexpr double kLongest = 365.0 * 24 * 3600;
    m_stepMs = seconds > 0 ? qRound64(std::clamp(seconds, 0.1, kLongest) * 1000) : 0;
}

void DemoBook::advance(int steps)
{
    if (steps <= 0)
        return;
    m_manualSteps += steps;
    m_lastAdvance = m_now();
}

qint64 DemoBook::tickSteps() const
{
    if (m_stepMs == 0)
        return 0;
    return std::max<qint64>(0, m_start.msecsTo(m_now())) / m_stepMs;
}

qint64 DemoBook::step() const
{
    return tickSteps() + m_manualSteps;
}

QDateTime DemoBook::lastUpdate() const
{
    const qint64 ticks = tickSteps();
    QDateTime at = m_lastAdvance;
    if (ticks > 0)
        at = std::max(at, m_start.addMSecs(ticks * m_stepMs));
    return at.toUTC();
}

QList<double> DemoBook::recentReturns() const
{
    const qint64 last = step();
    QList<double> out;
    out.reserve(kHistory);
    for (qint64 s = last - (kHistory - 1); s <= last; ++s)
        out.append(pointAt(s).returnPct);
    return out;
}

const DemoBook::Point &DemoBook::pointAt(qint64 step) const
{
    const auto index = std::size_t(step + (kHistory - 1));
    while (m_points.size() <= index)
        m_points.push_back(next(m_points.back()));
    return m_points[index];
}

DemoBook::Point DemoBook::next(const Point &from) const
{
    // Always the same number of draws per step, in the same order, so a seed fixes the sequence.
    Point to = from;
    to.returnPct += 0.3 * symmetric() - kPull * (from.returnPct - kStartReturn);
    to.returnVsSpyPct += 0.15 * symmetric() - kPull * (from.returnVsSpyPct - kStartVsSpy);
    for (int &positions : to.positions) {
        const quint64 roll = m_rng() % 10;
        const int move = roll < 2 ? -1 : roll < 4 ? 1 : 0;
        positions = std::clamp(positions + move, 0, 8);
    }
    return to;
}

double DemoBook::symmetric() const
{
    // Built from the raw 64 bits: std distributions differ between standard libraries.
    const double unit = double(m_rng() >> 11) * 0x1.0p-53;
    return 2 * unit - 1;
}

} // namespace standin
