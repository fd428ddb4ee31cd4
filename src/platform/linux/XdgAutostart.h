#pragma once

#include "ui/LoginItem.h"

#include <QString>

// Start at login as the freedesktop autostart convention has it: a desktop entry in
// $XDG_CONFIG_HOME/autostart. Removing the entry unregisters; an entry the user disabled with
// Hidden=true or X-GNOME-Autostart-enabled=false counts as not registered.
class XdgAutostart final : public LoginItem
{
public:
    // `executable`: the program the entry starts.
    explicit XdgAutostart(QString executable);

    Status status() const override;
    bool registerItem() override;
    bool unregisterItem() override;

    // Where the entry lives now ($XDG_CONFIG_HOME read afresh).
    static QString entryPath();
    // The entry's text for `executable`.
    static QByteArray entryFor(const QString &executable);

private:
    QString m_executable;
};
