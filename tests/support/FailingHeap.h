#pragma once

#include <cstdint>

namespace videoparams::test {

// Counts the allocations of chosen calls, and lets one of them fail. No other thread runs meanwhile.
class FailingHeap
{
public:
    enum class Failure
    {
        Once,
        ForGood,  // and every later one
    };

    FailingHeap() = default;  // only counts
    FailingHeap(uint64_t failAt, Failure kind) : allocationToFail(failAt), failure(kind) {}

    // Allocations count from 1, over all calls.
    template <typename Call>
    auto During(Call call)
    {
        const Watch watch(*this);
        return call();
    }

    uint64_t Allocations() const { return allocations; }
    bool HasFailed() const { return hasFailed; }
    int64_t BlocksLeft() const { return blocksLeft; }  // allocated and not freed
    int64_t BytesLeft() const { return bytesLeft; }
    int64_t MostBytes() const { return mostBytes; }  // at any time

    // For the replaced allocation functions.
    static bool Refuses();
    static void CountBlocks(int64_t change, int64_t bytes);

private:
    class Watch
    {
    public:
        explicit Watch(FailingHeap& heap);
        ~Watch();
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
    };

    uint64_t allocationToFail = 0;
    Failure failure = Failure::Once;
    uint64_t allocations = 0;
    bool hasFailed = false;
    int64_t blocksLeft = 0;
    int64_t bytesLeft = 0;
    int64_t mostBytes = 0;
};

}  // namespace videoparams::test
