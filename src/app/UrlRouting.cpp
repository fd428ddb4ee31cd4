#include "app/UrlRouting.h"

namespace {
QUrl parsed(const QString &text)
{
    return text.isEmpty() ? QUrl() : QUrl(text, QUrl::StrictMode);
}
} // namespace

QString literalHost(const QString &text)
{
    const qsizetype schemeEnd = text.indexOf(QLatin1Char(':'));
    if (schemeEnd < 0 || !text.mid(schemeEnd + 1).startsWith(QLatin1String("//")))
        return {};
    const qsizetype start = schemeEnd + 3;
    qsizetype end = start;
    while (end < text.size() && !QStringView(u"/?#").contains(text.at(end)))
        ++end;
    QStringView authority = QStringView(text).sliced(start, end - start);
    if (const qsizetype at = authority.lastIndexOf(u'@'); at >= 0)
        authority = authority.sliced(at + 1);
    // A port follows the last colon, unless that colon sits inside an IPv6 literal.
    const qsizetype colon = authority.lastIndexOf(u':');
    if (colon >= 0 && colon > authority.lastIndexOf(u']'))
        authority = authority.first(colon);
    return authority.toString();
}

UrlRoute routeUrl(const QString &text)
{
    if (!parsed(text).isValid())
        return UrlRoute::Ignore;
    const QString host = literalHost(text);
    if (host == u"open" || host == u"pulse")
        return UrlRoute::ToggleQuickPanel;
    return UrlRoute::AuthCallback;
}

bool isCallbackUrl(const QString &text)
{
    const QUrl url = parsed(text);
    return url.isValid() && url.scheme() == QLatin1String(callbackScheme);
}

void deliverUrl(const QString &text, const UrlHandlers &handlers)
{
    switch (routeUrl(text)) {
    case UrlRoute::Ignore:
        return;
    case UrlRoute::ToggleQuickPanel:
        if (handlers.toggleQuickPanel)
            handlers.toggleQuickPanel();
        return;
    case UrlRoute::AuthCallback:
        if (handlers.handleCallback)
            handlers.handleCallback(parsed(text));
        return;
    }
}
