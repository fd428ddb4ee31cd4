#pragma once

#include <QDateTime>
#include <QList>
#include <array>
#include <functional>
#include <random>
#include <vector>

namespace standin {

// A seeded random walk that stands in for the live book. The same seed gives the same numbers at
// the same step; the step index follows the clock (one per stepSeconds) plus manual advances.
class DemoBook
{
public:
    using Clock = std::function<QDateTime()>;
    static constexpr int kAccounts = 3;
    static constexpr int kHistory = 40; // points in the sparkline
    static constexpr double kBaseEquity = 100000;

    // The book at one step of the walk.
    struct Point
    {
        double returnPct = 0;      // percent since inception
        double returnVsSpyPct = 0; // percentage points over the index
        std::array<int, kAccounts> positions{};
    };

    explicit DemoBook(quint64 seed = 42);

    // Restarts the book at step 0 at the clock's current instant (tests hold time still).
    void setClock(Clock now);
    // 0 stops the clock driving the book; otherwise at least 0.1 s. The index does not jump.
    void setStepSeconds(double seconds);
    double stepSeconds() const { return double(m_stepMs) / 1000; }
    // The stand-in's one clock: token lifetimes and default timestamps follow it too.
    QDateTime now() const { return m_now(); }
    void advance(int steps);

    qint64 step() const;
    Point point() const { return pointAt(step()); }
    double totalEquity() const { return kBaseEquity * (1 + point().returnPct / 100); }
    // When the current step was reached, in UTC.
    QDateTime lastUpdate() const;
    // The last kHistory return_pct values, oldest first.
    QList<double> recentReturns() const;

private:
    qint64 tickSteps() const;
    const Point &pointAt(qint64 step) const;
    Point next(const Point &from) const;
    double symmetric() const;

    Clock m_now;
    QDateTime m_start;
    QDateTime m_lastAdvance; // when a manual advance (or a restart) last moved the index
    qint64 m_stepMs = 5000;
    qint64 m_manualSteps = 0;
    // Generated lazily and kept, so any step is reproducible; index i is step i - (kHistory - 1),
    // which gives a full sparkline from step 0.
    mutable std::mt19937_64 m_rng;
    mutable std::vector<Point> m_points;
};

} // namespace standin
