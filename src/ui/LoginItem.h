#pragma once

// Whether the application starts when the user logs in.
class LoginItem
{
public:
    enum class Status { Enabled, NotRegistered, RequiresApproval, NotFound };

    virtual ~LoginItem() = default;
    virtual Status status() const = 0;
    // Both return false when the desktop refused; status() then tells the real state.
    virtual bool registerItem() = 0;
    virtual bool unregisterItem() = 0;
};
