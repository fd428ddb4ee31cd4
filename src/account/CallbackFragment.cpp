#include "account/CallbackFragment.h"

#include <QList>
#include <QStringDecoder>

namespace {

int hexValue(QChar c)
{
    if (c >= u'0' && c <= u'9')
        return c.unicode() - u'0';
    if (c >= u'a' && c <= u'f')
        return c.unicode() - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c.unicode() - u'A' + 10;
    return -1;
}

// Splits on the first "=" the way the sign-in backend's own clients do: empty pieces are skipped
// without counting, so "=a=b" still yields ("a", "b") and "a==b" yields ("a", "=b").
QList<QStringView> splitOnFirstEquals(QStringView piece)
{
    QList<QStringView> parts;
    qsizetype start = 0;
    for (qsizetype i = 0; i < piece.size(); ++i) {
        if (piece[i] != u'=')
            continue;
        const bool appended = i > start;
        if (appended)
            parts.append(piece.sliced(start, i - start));
        start = i + 1;
        if (appended)
            break;
    }
    if (start < piece.size())
        parts.append(piece.sliced(start));
    return parts;
}

} // namespace

std::optional<QString> percentDecoded(QStringView text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    qsizetype plainStart = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'%')
            continue;
        bytes.append(text.sliced(plainStart, i - plainStart).toUtf8());
        if (i + 2 >= text.size())
            return std::nullopt;
        const int high = hexValue(text[i + 1]);
        const int low = hexValue(text[i + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes.append(char(high * 16 + low));
        i += 2;
        plainStart = i + 1;
    }
    bytes.append(text.sliced(plainStart).toUtf8());
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return decoded;
}

QHash<QString, QString> parseCallbackFragment(QStringView encodedFragment)
{
    QHash<QString, QString> values;
    for (const QStringView piece : encodedFragment.split(u'&', Qt::SkipEmptyParts)) {
        const QList<QStringView> parts = splitOnFirstEquals(piece);
        if (parts.size() != 2)
            continue;
        values.insert(parts[0].toString(), percentDecoded(parts[1]).value_or(parts[1].toString()));
    }
    return values;
}
