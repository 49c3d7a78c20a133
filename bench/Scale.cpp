// Time a byte from 1 MB to 1 GB, and what a second thread brings.

#include "Measure.h"

namespace bench {

namespace {

constexpr size_t AccessUnitSize = 60000;
constexpr size_t Megabyte = 1000000;

void AnalyseAll(benchmark::State& state, const Stream& stream)
{
    void* handle = nullptr;
    if (ParseCreate(&handle, VideoCodecAVC, 0, 0) != 0) {
        state.SkipWithError("no memory");
        return;
    }
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        VideoInfo info;
        for (const AccessUnit& unit : stream.accessUnits) {
            if (ParseVideoParams(handle, unit.data, unit.size, &info) != 0)
                return false;
        }
        return true;
    });
    ParseRelease(handle);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * stream.size));
}

}  // namespace

void RegisterScale()
{
    for (const size_t megabytes : {1, 10, 100, 1000}) {
        const std::string name = "scale/" + std::to_string(megabytes) + " MB";
        benchmark::RegisterBenchmark(name.c_str(), [megabytes](benchmark::State& state) {
            AnalyseAll(state, MakeStream(VideoCodecAVC, AccessUnitSize, megabytes * Megabyte));
        });
    }
    for (const int threads : {1, 2}) {
        const auto run = [](benchmark::State& state) {
            AnalyseAll(state, MakeStream(VideoCodecAVC, AccessUnitSize, 2 * AccessUnitSize));
        };
        benchmark::RegisterBenchmark("scale/in cache", run)->Threads(threads)->UseRealTime();
    }
}

}  // namespace bench
