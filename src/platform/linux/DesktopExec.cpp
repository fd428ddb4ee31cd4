#include "platform/linux/DesktopExec.h"

#include <algorithm>

namespace desktop_exec {

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

} // namespace desktop_exec
