#include "platform/linux/DesktopEntry.h"

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

QString quotedArgument(const QString &argument)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    QString quoted = argument;
    if (std::any_of(quoted.cbegin(), quoted.cend(), [](QChar c) { return reserved.contains(c); })) {
        QString escaped;
        for (QChar c : quoted) {
            if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
                escaped += QLatin1Char('\\');
            escaped += c;
        }
        quoted = QLatin1Char('"') + escaped + QLatin1Char('"');
    }
    return quoted;
}

QString execArgument(const QString &argument)
{
    QString quoted = argument;
    quoted.replace(QLatin1Char('%'), QStringLiteral("%%"));
    quoted = quotedArgument(quoted);
    // The key's value is itself an escaped string: its backslashes are doubled once more.
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    return quoted;
}

QString entryFor(const QString &binaryPath)
{
    const QString path = QFileInfo(binaryPath).absoluteFilePath();
    QStringList lines = QString::fromUtf8(resource(QLatin1StringView(fileName))).split(u'\n');
    for (QString &line : lines) {
        if (line.startsWith(QLatin1StringView("Exec=")))
            line = QStringLiteral("Exec=") + execArgument(path) + QStringLiteral(" %u");
    }
    return lines.join(u'\n');
}

QString busServiceFor(const QString &binaryPath)
{
    return QStringLiteral("[D-BUS Service]\nName=com.mireo.Pulse\nExec=") +
           quotedArgument(QFileInfo(binaryPath).absoluteFilePath()) + u'\n';
}

bool registerForUser(const QString &binaryPath)
{
    if (isInstalled(binaryPath))
        return false;
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (data.isEmpty())
        return false;
    const QString applications = data + QStringLiteral("/applications");
    writeIfDifferent(data + QStringLiteral("/icons/hicolor/scalable/apps/mireo-pulse.svg"),
                     resource(QStringLiteral("mireo-pulse.svg")));
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
