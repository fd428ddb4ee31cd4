#include "OverrideQueue.h"

namespace standin {

void OverrideQueue::push(const QString &path, const Override &canned, int count)
{
    if (count > 0)
        m_entries[path].append(Entry{canned, count});
}

std::optional<Override> OverrideQueue::take(const QString &path)
{
    const auto it = m_entries.find(path);
    if (it == m_entries.end())
        return std::nullopt;
    Entry &front = it->first();
    const Override canned = front.canned;
    if (--front.remaining == 0)
        it->removeFirst();
    if (it->isEmpty())
        m_entries.erase(it);
    return canned;
}

void OverrideQueue::clear()
{
    m_entries.clear();
}

} // namespace standin
