#include "commands/UserDataPayload.h"

#include "io/InputFile.h"

#include <cmath>
#include <ctime>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr size_t LargestData = 64 << 20;
constexpr int64_t NanosecondsPerSecond = 1000000000;

int64_t Now(clockid_t id)
{
    struct timespec now = {};
    clock_gettime(id, &now);
    return now.tv_sec * NanosecondsPerSecond + now.tv_nsec;
}

}  // namespace

CUserDataPayload::CUserDataPayload(const UserDataAddOptions& options, const SourceFacts& given)
    : clock(options.timestamp), facts(given)
{
    if (options.text)
        bytes = *options.text;
    else if (!clock)
        bytes = ReadWholeFile(options.dataFile, LargestData);
    if (clock == VideoParamsClockPts && facts.timeBase.numerator == 0)
        throw CToolError(
            fmt::format("{}: a byte stream has no times; --timestamp pts needs a container", facts.name));
}

const std::string& CUserDataPayload::For(const NalUnit& slice)
{
    if (clock) {
        bytes.resize(VIDEOPARAMS_TIMESTAMP_SIZE);
        VideoParamsWriteTimestamp(reinterpret_cast<unsigned char*>(bytes.data()), *clock, ReadClock(slice));
    }
    return bytes;
}

int64_t CUserDataPayload::ReadClock(const NalUnit& slice) const
{
    if (clock == VideoParamsClockUtc)
        return Now(CLOCK_REALTIME);
    if (clock == VideoParamsClockMonotonic)
        return Now(CLOCK_MONOTONIC);
    if (!slice.sample || !slice.sample->pts)
        throw CToolError(fmt::format("{}: the picture at byte {} has no time", facts.name, slice.offset));
    return std::llround(facts.timeBase.Seconds(*slice.sample->pts) * NanosecondsPerSecond);
}

}  // namespace tool
