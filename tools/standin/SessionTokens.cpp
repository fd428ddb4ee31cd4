#include "SessionTokens.h"

#include "DemoBook.h"

#include <QRandomGenerator>
#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

// 256 random bits in the URL-safe base64 alphabet: fits a URL fragment and a JSON text as is.
QString randomToken()
{
    std::array<quint32, 8> words{};
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    const QByteArray bytes(reinterpret_cast<const char *>(words.data()), sizeof(words));
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

} // namespace

SessionTokens::Issued SessionTokens::issue(int expiresInSeconds)
{
    Issued issued{randomToken(), randomToken(), expiresInSeconds,
                  m_book.now().toUTC().addSecs(expiresInSeconds)};
    m_access.insert(issued.accessToken, issued.expiresAt);
    m_refresh.insert(issued.refreshToken, expiresInSeconds);
    return issued;
}

std::optional<SessionTokens::Issued> SessionTokens::refresh(const QString &refreshToken)
{
    const auto found = m_refresh.constFind(refreshToken);
    if (found == m_refresh.cend())
        return std::nullopt;
    const int lifetime = *found;
    m_refresh.erase(found);
    return issue(lifetime);
}

bool SessionTokens::isLive(const QString &accessToken) const
{
    const auto found = m_access.constFind(accessToken);
    return found != m_access.cend() && m_book.now() < *found;
}

void SessionTokens::expireAccessTokens()
{
    const QDateTime now = m_book.now();
    for (QDateTime &expiry : m_access)
        expiry = std::min(expiry, now);
}

void SessionTokens::revokeRefreshTokens()
{
    m_refresh.clear();
}

void SessionTokens::clear()
{
    m_access.clear();
    m_refresh.clear();
}

int SessionTokens::liveAccessTokens() const
{
    const QDateTime now = m_book.now();
    return int(std::count_if(m_access.cbegin(), m_access.cend(),
                             [&now](const QDateTime &expiry) { return now < expiry; }));
}

QUrl SessionTokens::callbackUrl(const Issued &issued)
{
    return QUrl(kRedirect + u"#access_token="_s + issued.accessToken + u"&refresh_token="_s +
                issued.refreshToken + u"&expires_in="_s + QString::number(issued.expiresIn) +
                u"&token_type=bearer"_s);
}

} // namespace standin
