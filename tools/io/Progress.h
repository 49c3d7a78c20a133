// A progress bar on standard error, where that is a terminal and the work is large.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>

namespace tool {

class CProgress
{
public:
    explicit CProgress(uint64_t totalBytes);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    void Update(uint64_t doneBytes);

private:
    using Clock = std::chrono::steady_clock;

    uint64_t totalBytes;
    bool isWanted;
    bool isDrawn = false;
    Clock::time_point start = Clock::now();
    Clock::time_point nextDraw;
};

}  // namespace tool
