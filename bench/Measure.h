#pragma once

#include "Heap.h"
#include "Stream.h"

#include <benchmark/benchmark.h>

#include <string>

namespace bench {

// Measures `pass`, which reads a stream of `bytes` bytes once, in `calls` calls, and returns whether all
// calls succeeded. Before the measurement, a few passes let the blocks grow to their size.
template <typename Pass>
void Measure(benchmark::State& state, size_t bytes, size_t calls, Pass&& pass, int warmUpPasses = 3)
{
    for (int i = 0; i < warmUpPasses; ++i) {
        if (!pass()) {
            state.SkipWithError("a call failed");
            return;
        }
    }
    const uint64_t allocationsBefore = AllocationCount();
    for (auto _ : state)
        benchmark::DoNotOptimize(pass());
    const auto iterations = static_cast<double>(state.iterations());
    const auto allocations = static_cast<double>(AllocationCount() - allocationsBefore);
    state.counters["bytes"] = static_cast<double>(bytes);
    state.counters["calls"] = static_cast<double>(calls);
    state.counters["allocations"] = allocations / iterations / static_cast<double>(calls);
}

// Registers a function of state and stream, under the name of the stream.
template <typename Function>
void Register(const StreamKey& key, const std::string& operation, Function function)
{
    benchmark::RegisterBenchmark(
        (key.Name() + "/" + operation).c_str(),
        [key, function](benchmark::State& state) { function(state, key, GetStream(key)); });
}

void RegisterBaselines(const StreamKey& key);
void RegisterParseOperations(const StreamKey& key);
void RegisterUserDataOperations(const StreamKey& key);
void RegisterLibavcodec(const StreamKey& key);
void RegisterGstreamer(const StreamKey& key);
void RegisterHostileShapes();
void RegisterScale();

}  // namespace bench
