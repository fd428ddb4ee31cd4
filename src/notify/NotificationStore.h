#pragma once

#include "account/AccountRecords.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <optional>

class AuthStore;
class Defaults;
class Notifier;

// Turns account events (a new daily decision, new fills, the kill switch flipping) into desktop
// notifications. Each kind keeps one mark in the user defaults, so an event is announced once,
// across restarts too.
class NotificationStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled NOTIFY enabledChanged)

public:
    NotificationStore(Notifier &notifier, Defaults &defaults, QObject *parent = nullptr);

    // The user allowed notifications; false until the permission answer says otherwise.
    bool enabled() const { return m_enabled; }

    // Asks for alerts and sounds; `enabled` follows the answer when it arrives.
    void requestPermission();
    // Today's decision, then new fills, then the kill switch. Does nothing at all, marks
    // included, before permission or while signed out.
    QCoro::Task<> check(AuthStore &auth);

Q_SIGNALS:
    void enabledChanged();

private:
    QCoro::Task<> checkDecision(AuthStore &auth);
    QCoro::Task<> checkFills(AuthStore &auth);
    void checkKillSwitch(const std::optional<Portfolio> &portfolio);
    void post(const QString &identifier, const QString &title, const QString &body);
    void writeMark(const QString &key, const QString &value);
    void setEnabled(bool value);

    Notifier &m_notifier;
    Defaults &m_defaults;
    bool m_enabled = false;
};
