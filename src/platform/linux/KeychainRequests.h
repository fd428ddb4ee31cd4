#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// The lines the app and its keychain helper (mireo-pulse-keychain) exchange over a pipe. Keys
// and values travel as base64url, so a secret is one word whatever it holds and never appears
// on a command line.
namespace keychain_requests {

enum class Kind { Read, Replace, Remove };

struct Request
{
    Kind kind = Kind::Read;
    QString key;
    QString value; // Replace only
};

QByteArray encode(const Request &request);
// Nothing for a line that is not a request.
std::optional<Request> decodeRequest(QByteArrayView line);

// The helper's answer to a read: the secret, "missing" when the keychain has none, or no line
// at all when the keychain did not answer.
QByteArray valueLine(const std::optional<QString> &value);

struct ReadAnswer
{
    bool answered = false;
    std::optional<QString> value;
};
ReadAnswer decodeReadAnswer(QByteArrayView output);

} // namespace keychain_requests
