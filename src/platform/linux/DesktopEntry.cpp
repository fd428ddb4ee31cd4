#include "platform/linux/DesktopEntry.h"

#include "platform/linux/DesktopExec.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <algorithm>

namespace DesktopEntry {

namespace {

QByteArray resource(const QString &name)
{
    QFile file(QStringLiteral(":/mireo/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeIfDifferent(const QString &path, const QByteArray &contents)
{
    QFile existing(path);
    if (existing.open(QIODevice::ReadOnly) && existing.readAll() == contents)
        return false;
    existing.close();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size() &&
           file.commit();
}

void runIfPresent(const QString &program, const QStringList &arguments)
{
    const QString path = QStandardPaths::findExecutable(program);
    if (!path.isEmpty())
        QProcess::startDetached(path, arguments);
}

} // namespace

bool isInstalled(const QString &binaryPath)
{
    const QDir bin = QFileInfo(binaryPath).absoluteDir();
    return QFileInfo::exists(bin.filePath(QStringLiteral("../share/applications/")) +
                             QLatin1StringView(fileName));
}

QString entryFor(const QString &binaryPath)
{
    const QString path = QFileInfo(binaryPath).absoluteFilePath();
    QStringList lines = QString::fromUtf8(resource(QLatin1StringView(fileName))).split(u'\n');
    for (QString &line : lines) {
        if (line.startsWith(QLatin1StringView("Exec=")))
            line =
                QStringLiteral("Exec=") + desktop_exec::execArgument(path) + QStringLiteral(" %u");
    }
    return lines.join(u'\n');
}

QString busServiceFor(const QString &binaryPath)
{
    return QStringLiteral("[D-BUS Service]\nName=") + QLatin1StringView(app_names::busName) +
           QStringLiteral("\nExec=") +
           desktop_exec::quotedArgument(QFileInfo(binaryPath).absoluteFilePath()) + u' ' +
           QLatin1StringView(desktop_exec::backgroundArgument) + u'\n';
}

bool registerForUser(const QString &binaryPath)
{
    if (isInstalled(binaryPath))
        return false;
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (data.isEmpty())
        return false;
    const QString applications = data + QStringLiteral("/applications");
    const QString icon = QLatin1StringView(app_names::iconName) + QStringLiteral(".svg");
    writeIfDifferent(data + QStringLiteral("/icons/hicolor/scalable/apps/") + icon, resource(icon));
    writeIfDifferent(data + QStringLiteral("/dbus-1/services/") +
                         QLatin1StringView(busServiceFileName),
                     busServiceFor(binaryPath).toUtf8());
    if (!writeIfDifferent(applications + u'/' + QLatin1StringView(fileName),
                          entryFor(binaryPath).toUtf8()))
        return false;
    runIfPresent(QStringLiteral("xdg-mime"),
                 {QStringLiteral("default"), QLatin1StringView(fileName),
                  QLatin1StringView(schemeMimeType)});
    runIfPresent(QStringLiteral("update-desktop-database"), {applications});
    return true;
}

} // namespace DesktopEntry
