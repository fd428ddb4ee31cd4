#pragma once

#include "notify/Notifier.h"

#include <QList>
#include <utility>

namespace testing {

// Records what would reach the desktop; the permission answer comes when the test gives it.
class RecordingNotifier final : public Notifier
{
public:
    QList<Notification> delivered;

    void requestPermission(Permissions, std::function<void(bool)> answer) override
    {
        m_pending.append(std::move(answer));
    }
    void deliver(const Notification &notification) override { delivered.append(notification); }

    void answer(bool granted)
    {
        for (const auto &pending : std::exchange(m_pending, {}))
            pending(granted);
    }

private:
    QList<std::function<void(bool)>> m_pending;
};

} // namespace testing
