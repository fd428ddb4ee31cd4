#include "platform/linux/XdgAutostart.h"

#include "base/AppNames.h"
#include "platform/linux/DesktopExec.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

bool isTrue(const QString &value)
{
    return value.trimmed() == QLatin1String("true");
}

} // namespace

XdgAutostart::XdgAutostart(QString executable) : m_executable(std::move(executable)) {}

QString XdgAutostart::entryPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/") + QLatin1StringView(app_names::executable) +
           QStringLiteral(".desktop");
}

QByteArray XdgAutostart::entryFor(const QString &executable)
{
    return QByteArrayLiteral("[Desktop Entry]\n"
                             "Type=Application\n"
                             "Name=Mireo Pulse\n"
                             "Comment=The pulse of your money in the panel\n"
                             "Exec=") +
           desktop_exec::execArgument(executable).toUtf8() + ' ' +
           desktop_exec::backgroundArgument +
           QByteArrayLiteral("\n"
                             "Terminal=false\n"
                             "NoDisplay=true\n"
                             "X-GNOME-Autostart-enabled=true\n");
}

LoginItem::Status XdgAutostart::status() const
{
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return Status::NotRegistered;
    bool inEntry = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'[')) {
            inEntry = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        if (!inEntry)
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0)
            continue;
        const QString key = line.left(equals).trimmed();
        const QString value = line.mid(equals + 1);
        if ((key == QLatin1String("Hidden") && isTrue(value)) ||
            (key == QLatin1String("X-GNOME-Autostart-enabled") && !isTrue(value)))
            return Status::NotRegistered;
    }
    return Status::Enabled;
}

bool XdgAutostart::registerItem()
{
    const QString path = entryPath();
    if (!QDir().mkpath(QFileInfo(path).path()))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(entryFor(m_executable));
    return file.commit();
}

bool XdgAutostart::unregisterItem()
{
    QFile file(entryPath());
    return !file.exists() || file.remove();
}
