#include "userdata/MessageQueue.h"

#include <algorithm>
#include <utility>

namespace gstvp {

bool CMessageQueue::Push(Payload message)
{
    const std::lock_guard lock(mutex);
    if (messages.size() >= limit)
        return false;
    messages.push_back(std::move(message));
    return true;
}

void CMessageQueue::SetLimit(guint messageCount)
{
    const std::lock_guard lock(mutex);
    limit = messageCount;
}

guint CMessageQueue::Limit() const
{
    const std::lock_guard lock(mutex);
    return limit;
}

std::vector<Payload> CMessageQueue::Messages() const
{
    const std::lock_guard lock(mutex);
    return {messages.begin(), messages.end()};
}

void CMessageQueue::Drop(size_t messageCount)
{
    const std::lock_guard lock(mutex);
    const auto count = static_cast<std::ptrdiff_t>(std::min(messageCount, messages.size()));
    messages.erase(messages.begin(), messages.begin() + count);
}

void CMessageQueue::Clear()
{
    const std::lock_guard lock(mutex);
    messages.clear();
}

}  // namespace gstvp
