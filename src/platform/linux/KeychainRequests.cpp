#include "platform/linux/KeychainRequests.h"

#include <QList>

namespace keychain_requests {

namespace {

constexpr auto base64Options = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

QByteArray word(const QString &text)
{
    return text.toUtf8().toBase64(base64Options);
}

std::optional<QString> fromWord(QByteArrayView word)
{
    const auto decoded = QByteArray::fromBase64Encoding(
        word.toByteArray(), base64Options | QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return QString::fromUtf8(*decoded);
}

} // namespace

QByteArray encode(const Request &request)
{
    switch (request.kind) {
    case Kind::Read:
        return "read " + word(request.key) + '\n';
    case Kind::Replace:
        return "replace " + word(request.key) + ' ' + word(request.value) + '\n';
    case Kind::Remove:
        return "remove " + word(request.key) + '\n';
    }
    return {};
}

std::optional<Request> decodeRequest(QByteArrayView line)
{
    QByteArray text = line.toByteArray();
    if (text.endsWith('\n'))
        text.chop(1);
    const QList<QByteArray> words = text.split(' ');
    const auto key = words.size() >= 2 ? fromWord(words[1]) : std::nullopt;
    if (!key || key->isEmpty())
        return std::nullopt;
    if (words[0] == "read" && words.size() == 2)
        return Request{Kind::Read, *key, {}};
    if (words[0] == "remove" && words.size() == 2)
        return Request{Kind::Remove, *key, {}};
    if (words[0] == "replace" && words.size() == 3) {
        if (const auto value = fromWord(words[2]))
            return Request{Kind::Replace, *key, *value};
    }
    return std::nullopt;
}

QByteArray valueLine(const std::optional<QString> &value)
{
    return value ? "value " + word(*value) + '\n' : QByteArray("missing\n");
}

ReadAnswer decodeReadAnswer(QByteArrayView output)
{
    // A line cut short (a helper stopped mid-write) is no answer.
    const qsizetype end = output.indexOf('\n');
    if (end < 0)
        return {};
    const QByteArrayView line = output.first(end);
    if (line == "missing")
        return {true, std::nullopt};
    if (line.startsWith("value ")) {
        if (const auto value = fromWord(line.sliced(6)))
            return {true, *value};
    }
    return {};
}

} // namespace keychain_requests
