#include "AuthRoutes.h"

#include "Router.h"
#include "SessionTokens.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

const QString kUserId = u"7c9e6679-7425-40de-944b-e07fc1f90ae7"_s;
const QString kUserEmail = u"demo@mireo.test"_s;

Reply htmlPage(const QString &title, const QString &bodyHtml, int status = 200)
{
    const QString page = u"<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"_s
                         u"<title>"_s +
                         title.toHtmlEscaped() + u"</title></head>\n<body>\n<h1>"_s +
                         title.toHtmlEscaped() + u"</h1>\n"_s + bodyHtml + u"</body></html>\n"_s;
    return Reply{status, "text/html; charset=utf-8", page.toUtf8(), {}};
}

// No provider is asked: one click hands a fresh demo session (or the requested error) straight
// back to the app's redirect.
Reply authorize(SessionTokens &tokens, const Request &request)
{
    if (request.queryItem(u"provider"_s) != u"google")
        return Reply::error(400, u"provider must be google"_s);
    if (request.queryItem(u"redirect_to"_s) != SessionTokens::kRedirect)
        return Reply::error(400, u"redirect_to must be "_s + SessionTokens::kRedirect);
    QString target;
    const QString error = request.queryItem(u"error"_s);
    if (!error.isEmpty()) {
        const auto encoded = [](const QString &text) {
            return QString::fromLatin1(QUrl::toPercentEncoding(text));
        };
        target = SessionTokens::kRedirect + u"#error="_s + encoded(error) +
                 u"&error_description="_s + encoded(request.queryItem(u"error_description"_s));
    } else {
        target = SessionTokens::callbackUrl(tokens.issue()).toString(QUrl::FullyEncoded);
    }
    return htmlPage(u"Mireo sign-in (stand-in)"_s,
                    u"<p>This local stand-in signs you in without a Google account.</p>\n"_s
                    u"<p><a id=\"continue\" href=\""_s +
                        target.toHtmlEscaped() + u"\">Continue as demo user</a></p>\n"_s);
}

Reply tokenError(const QString &code, const QString &description)
{
    return Reply::json(QJsonObject{{u"error"_s, code}, {u"error_description"_s, description}}, 400);
}

Reply grant(SessionTokens &tokens, const Request &request)
{
    if (request.header("apikey") != MIREO_STANDIN_ANON_KEY)
        return Reply::json(QJsonObject{{u"message"_s, u"Invalid API key"_s}}, 401);
    if (request.queryItem(u"grant_type"_s) != u"refresh_token")
        return tokenError(u"unsupported_grant_type"_s, u"grant_type must be refresh_token"_s);
    const QByteArray type = request.header("Content-Type").split(';').first().trimmed().toLower();
    if (type != "application/json")
        return tokenError(u"invalid_request"_s, u"Content-Type must be application/json"_s);
    const QJsonDocument body = QJsonDocument::fromJson(request.body);
    const QJsonValue refreshToken = body.object().value(u"refresh_token"_s);
    if (!body.isObject() || !refreshToken.isString())
        return tokenError(u"invalid_request"_s, u"body must be {\"refresh_token\": text}"_s);
    const auto issued = tokens.refresh(refreshToken.toString());
    if (!issued)
        return tokenError(u"invalid_grant"_s, u"Invalid Refresh Token"_s);
    return Reply::json(QJsonObject{
        {u"access_token"_s, issued->accessToken},
        {u"token_type"_s, u"bearer"_s},
        {u"expires_in"_s, issued->expiresIn},
        {u"expires_at"_s, issued->expiresAt.toSecsSinceEpoch()},
        {u"refresh_token"_s, issued->refreshToken},
        {u"user"_s, QJsonObject{{u"id"_s, kUserId}, {u"email"_s, kUserEmail}}},
    });
}

} // namespace

void addAuthRoutes(Router &router, SessionTokens &tokens)
{
    router.add(u"GET"_s, u"/auth/v1/authorize"_s,
               [&tokens](const Request &r) { return authorize(tokens, r); });
    router.add(u"POST"_s, u"/auth/v1/token"_s,
               [&tokens](const Request &r) { return grant(tokens, r); });
}

} // namespace standin
