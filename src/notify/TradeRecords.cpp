#include "notify/TradeRecords.h"

#include "base/StrictJson.h"

std::optional<TradesResponse> decodeTrades(const QByteArray &body)
{
    const auto root = base::parseObject(body);
    if (!root)
        return std::nullopt;
    base::StrictReader read;
    auto trades = read.array(*root, "trades", [&read](const base::Json &value) {
        const base::Json *trade = read.object(value);
        if (!trade)
            return std::optional<Trade>();
        std::optional<QString> symbol = read.string(*trade, "symbol");
        if (!symbol)
            return std::optional<Trade>();
        return std::optional(Trade{
            *symbol,
            read.string(*trade, "side"),
            read.string(*trade, "status"),
            read.string(*trade, "filled_at"),
            read.number(*trade, "fill_price"),
        });
    });
    if (!trades || read.failed())
        return std::nullopt;
    return TradesResponse{*trades};
}
