// Time per byte and memory of a handle for streams from 1 MB to 1 GB, and the gain by a second thread.

#include "Handles.h"
#include "Measure.h"

#include <cstring>

namespace bench {

namespace {

constexpr size_t AccessUnitSize = 60000;
constexpr size_t Megabyte = 1000000;

// The baseline: copies to one block.
void Copy(benchmark::State& state, const Stream& stream)
{
    const PageBytes block = AllocatePages(2 * AccessUnitSize);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        for (const AccessUnit& unit : stream.accessUnits) {
            std::memcpy(block.get(), unit.data, unit.size);
            benchmark::ClobberMemory();
        }
        return true;
    });
}

// One access unit per call.
void Analyse(benchmark::State& state, const Stream& stream)
{
    const int64_t before = HeapBytesInUse();
    const CParseHandle handle(VideoCodecAVC);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        VideoInfo info;
        bool ok = true;
        for (const AccessUnit& unit : stream.accessUnits)
            ok = ParseVideoParams(handle, unit.data, unit.size, &info) == 0 && ok;
        return ok;
    });
    state.counters["handle"] =
        benchmark::Counter(static_cast<double>(HeapBytesInUse() - before), benchmark::Counter::kAvgThreads);
    state.SetBytesProcessed(static_cast<int64_t>(stream.size) * state.iterations());
}

// The whole stream in one call.
void AnalyseAtOnce(benchmark::State& state, const Stream& stream)
{
    const int64_t before = HeapBytesInUse();
    const CParseHandle handle(VideoCodecAVC);
    Measure(state, stream.size, 1, [&] {
        VideoInfo info;
        return ParseVideoParams(handle, stream.bytes.get(), static_cast<unsigned int>(stream.size), &info) ==
               0;
    });
    state.counters["handle"] = static_cast<double>(HeapBytesInUse() - before);
}

void SplitAtOnce(benchmark::State& state, const Stream& stream)
{
    const CParseHandle handle(VideoCodecAVC);
    Measure(state, stream.size, 1, [&] {
        unsigned int count = 0;
        unsigned char** units = nullptr;
        unsigned int* sizes = nullptr;
        return GetNalFromFrame(handle, stream.bytes.get(), static_cast<unsigned int>(stream.size), &count,
                               &units, &sizes) == 0;
    });
}

}  // namespace

void RegisterScale()
{
    for (const size_t megabytes : {1, 10, 100, 1000}) {
        const std::string stream = "scale/" + std::to_string(megabytes) + " MB/";
        const auto registerRun = [&](const char* name, auto run) {
            benchmark::RegisterBenchmark((stream + name).c_str(), [megabytes, run](benchmark::State& state) {
                run(state, MakeStream(VideoCodecAVC, AccessUnitSize, megabytes * Megabyte));
            });
        };
        registerRun("memcpy by unit", Copy);
        registerRun("ParseVideoParams", Analyse);
        registerRun("ParseVideoParams, one call", AnalyseAtOnce);
        registerRun("GetNalFromFrame, one call", SplitAtOnce);
    }
    for (const int threads : {1, 2}) {
        const auto run = [](benchmark::State& state) {
            Analyse(state, MakeStream(VideoCodecAVC, AccessUnitSize, 2 * AccessUnitSize));
        };
        benchmark::RegisterBenchmark("threads/in cache", run)->Threads(threads)->UseRealTime();
    }
}

}  // namespace bench
