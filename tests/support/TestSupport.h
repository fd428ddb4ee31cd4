#pragma once

#include "base/Clock.h"
#include "settings/Defaults.h"

#include <QTemporaryDir>
#include <memory>

namespace testing {

// A clock that stands still until told otherwise.
class ManualClock final : public base::Clock
{
public:
    explicit ManualClock(QDateTime now = QDateTime(QDate(2025, 3, 7), QTime(14, 30), Qt::UTC))
        : m_now(std::move(now))
    {
    }
    QDateTime now() const override { return m_now; }
    void set(const QDateTime &now) { m_now = now; }

private:
    QDateTime m_now;
};

// A user-defaults store in its own temporary file; reopen() reads it back as a restart would.
class TempDefaults
{
public:
    TempDefaults() : m_defaults(std::make_unique<Defaults>(path())) {}
    Defaults &operator*() { return *m_defaults; }
    Defaults *operator->() { return m_defaults.get(); }
    QString path() const { return m_dir.filePath(QStringLiteral("pulse.conf")); }
    void reopen()
    {
        m_defaults->sync();
        m_defaults.reset();
        m_defaults = std::make_unique<Defaults>(path());
    }

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Defaults> m_defaults;
};

// A positive count from the environment (rounds, cycles, seeds), or `fallback`.
inline int countFromEnvironment(const char *name, int fallback)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok && value > 0 ? value : fallback;
}

} // namespace testing

// A test main whose process has its own, empty user-defaults folder, for code that reaches the
// shared store (the language choice) rather than an injected one. Widgets need a QApplication.
#define MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG_APP(TestClass, AppClass)                               \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        QTemporaryDir home;                                                                        \
        qputenv("XDG_CONFIG_HOME", home.path().toUtf8());                                          \
        AppClass app(argc, argv);                                                                  \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
#define MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestClass)                                             \
    MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG_APP(TestClass, QCoreApplication)
