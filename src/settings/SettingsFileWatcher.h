#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

class AppSettings;
class Defaults;

// Lets a running app follow choices another process writes into the settings file
// (`mireo-pulse --set-metric pnl` from a status-bar script). Costs nothing until the file
// changes: the folder is watched, since the file is replaced rather than rewritten.
class SettingsFileWatcher : public QObject
{
    Q_OBJECT
public:
    SettingsFileWatcher(Defaults &defaults, AppSettings &settings, QObject *parent = nullptr);

private:
    void reread();

    Defaults &m_defaults;
    AppSettings &m_settings;
    QFileSystemWatcher m_watcher;
    QTimer m_settle; // one re-read for a burst of changes
};
