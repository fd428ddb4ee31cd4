#pragma once

#include <QFlags>
#include <QString>
#include <functional>

// The desktop's notification service: ask once whether we may notify, then deliver at once.
// A notification with the identifier of an earlier one replaces it.
class Notifier
{
public:
    enum class Permission { Alert = 0x1, Sound = 0x2 };
    Q_DECLARE_FLAGS(Permissions, Permission)

    struct Notification
    {
        QString identifier;
        QString title;
        QString body;
        bool defaultSound = true;
        bool operator==(const Notification &) const = default;
    };

    virtual ~Notifier() = default;

    // `answer` runs later, on the main thread, with the granted flag; never before this returns.
    // It may run again when the answer changes (a notification service that comes later); the
    // last answer holds. It does not run when the notifier is destroyed first.
    virtual void requestPermission(Permissions options,
                                   std::function<void(bool granted)> answer) = 0;
    // Hands the notification over without waiting; a failure to show it is silent.
    virtual void deliver(const Notification &notification) = 0;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(Notifier::Permissions)
