#pragma once

#include <QCoroTask>
#include <QString>
#include <memory>
#include <optional>

// One secret text per key in the platform's keychain, shared by every process of the user.
// Everything is asynchronous: a keychain may wait for the user to unlock it, and the event loop
// must not wait with it. Every failure is silent: a failed write is lost.
class SecretStore
{
public:
    // A read's outcome. A keychain that did not answer (locked, or its service not up yet at
    // login) says nothing about the secret: `answered` is false and nothing may be concluded.
    struct Read
    {
        bool answered = false;
        std::optional<QString> value;
    };

    // While it lives, no other holder, in this process or another of the user, reads or
    // replaces the secrets: a read-and-replace under it is one step for all of them.
    class Hold
    {
    public:
        virtual ~Hold() = default;
    };

    virtual ~SecretStore() = default;
    // Sees every change this store was asked for before it.
    virtual QCoro::Task<Read> read(QString key) = 0;
    // Both finish once the keychain has the change, or it was given up.
    virtual QCoro::Task<> replace(QString key, QString value) = 0;
    virtual QCoro::Task<> remove(QString key) = 0;
    // Waits without blocking; empty when the hold could not be had in time. Within one process
    // nothing needs it, so by default it is granted at once.
    virtual QCoro::Task<std::unique_ptr<Hold>> hold() { co_return std::make_unique<Hold>(); }
};
