// Messages that the application pushed and no picture has taken yet.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "userdata/SeiMessages.h"

#include <deque>
#include <mutex>

namespace gstvp {

// Push and the limit are used from any thread, the rest from the streaming thread.
class CMessageQueue
{
public:
    // False: the queue is full, and the message is not taken.
    [[nodiscard]] bool Push(Payload message);
    void SetLimit(guint messageCount);
    guint Limit() const;

    std::vector<Payload> Messages() const;
    // Drops the oldest ones.
    void Drop(size_t messageCount);
    void Clear();

private:
    mutable std::mutex mutex;
    std::deque<Payload> messages;
    guint limit = 1000;
};

}  // namespace gstvp
