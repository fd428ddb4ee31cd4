#include "settings/SettingsFileWatcher.h"

#include "settings/AppSettings.h"
#include "settings/Defaults.h"

#include <QDir>
#include <QFileInfo>

SettingsFileWatcher::SettingsFileWatcher(Defaults &defaults, AppSettings &settings, QObject *parent)
    : QObject(parent), m_defaults(defaults), m_settings(settings)
{
    const QFileInfo file(defaults.fileName());
    QDir().mkpath(file.absolutePath());
    m_watcher.addPath(file.absolutePath());
    m_settle.setSingleShot(true);
    m_settle.setInterval(50);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_settle,
            qOverload<>(&QTimer::start));
    connect(&m_settle, &QTimer::timeout, this, &SettingsFileWatcher::reread);
}

void SettingsFileWatcher::reread()
{
    // Writes what is pending and reads what others wrote, then tells whoever shows it.
    m_defaults.sync();
    m_settings.reload();
}
