#pragma once

#include "base/AppNames.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QUrl>
#include <optional>

namespace standin {

class DemoBook;

// A signed-in session as the sign-in page hands it to the app.
struct Session
{
    QString accessToken, refreshToken;
    QUrl callbackUrl; // the custom-scheme redirect carrying both tokens in its fragment
};

// The sign-in backend's tokens. Access tokens expire by the stand-in's clock; refresh tokens are
// single-use: renewing one revokes it (rotation).
class SessionTokens
{
public:
    static constexpr int kDefaultLifetime = 3600;
    static constexpr QLatin1StringView kRedirect{MIREO_URL_SCHEME "://auth"};

    struct Issued
    {
        QString accessToken;
        QString refreshToken;
        int expiresIn = kDefaultLifetime;
        QDateTime expiresAt;
    };

    explicit SessionTokens(const DemoBook &book) : m_book(book) {}

    Issued issue(int expiresInSeconds = kDefaultLifetime);
    // The renewed session keeps the lifetime the old one was issued with, so a test that asked
    // for short-lived tokens keeps getting them.
    std::optional<Issued> refresh(const QString &refreshToken);
    bool isLive(const QString &accessToken) const;

    void expireAccessTokens();
    void revokeRefreshTokens();
    void clear();
    int liveAccessTokens() const;
    int refreshTokens() const { return int(m_refresh.size()); }

    static QUrl callbackUrl(const Issued &issued);

private:
    const DemoBook &m_book;
    QHash<QString, QDateTime> m_access; // token -> expiry
    QHash<QString, int> m_refresh;      // token -> lifetime of the access tokens it renews
};

} // namespace standin
