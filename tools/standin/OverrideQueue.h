#pragma once

#include "Override.h"

#include <QHash>
#include <QList>
#include <QString>
#include <optional>

namespace standin {

// Canned answers waiting per path, served first in, first out.
class OverrideQueue
{
public:
    void push(const QString &path, const Override &canned, int count);
    std::optional<Override> take(const QString &path);
    void clear();

private:
    struct Entry
    {
        Override canned;
        int remaining;
    };
    QHash<QString, QList<Entry>> m_entries;
};

} // namespace standin
