// A progress bar on standard error, if that is a terminal and the work takes long enough to wait for.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <cstdint>

namespace tool {

class CProgress
{
public:
    // `totalBytes` 0: not known, as for a pipe. Then the bytes that are done are shown without a bar.
    CProgress(bool isWanted, uint64_t totalBytes);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    void Update(uint64_t doneBytes);

private:
    using Clock = std::chrono::steady_clock;

    bool isShown;
    uint64_t totalBytes;
    bool isDrawn = false;
    Clock::time_point start = Clock::now();
    Clock::time_point nextDraw;
};

}  // namespace tool
