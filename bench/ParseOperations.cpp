// The operations of a parse handle, with one access unit per call.

#include "Handles.h"
#include "Measure.h"

namespace bench {

namespace {

void MeasureParseVideoParams(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CParseHandle handle(key.codec);
    VideoInfo info;
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        size_t reportedBytes = 0;
        for (const AccessUnit& unit : stream.accessUnits) {
            ParseVideoParams(handle, unit.data, unit.size, &info);
            reportedBytes += info.accessUnitSize;
        }
        // The last access unit of this pass is reported in the next pass.
        return reportedBytes + stream.accessUnits.back().size >= stream.size;
    });
}

void MeasureGetNalFromFrame(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CParseHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        bool ok = true;
        for (const AccessUnit& unit : stream.accessUnits) {
            unsigned int count = 0;
            unsigned char** units = nullptr;
            unsigned int* sizes = nullptr;
            GetNalFromFrame(handle, unit.data, unit.size, &count, &units, &sizes);
            ok = ok && count >= 3;
        }
        return ok;
    });
}

void MeasureGetNalUnit(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CParseHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        size_t deliveredBytes = 0;
        for (const AccessUnit& unit : stream.accessUnits) {
            SetVideoData(handle, unit.data, unit.size);
            unsigned char* nalUnit = nullptr;
            unsigned int nalUnitSize = 0;
            bool isSlice = false;
            unsigned int headerLength = 0;
            while (GetNalUnit(handle, &nalUnit, &nalUnitSize, &isSlice, &headerLength) == 0)
                deliveredBytes += nalUnitSize;
        }
        return deliveredBytes == stream.size;
    });
}

void MeasureQueryType(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CParseHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        int64_t result = 0;
        for (const AccessUnit& unit : stream.accessUnits) {
            VideoPicType type;
            result |= QueryType(handle, unit.data, unit.size, type);
        }
        return result == 0;
    });
}

void MeasureVideoSampleTest(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CParseHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        int64_t result = 0;
        for (const AccessUnit& unit : stream.accessUnits) {
            VideoInfoEx test;
            result |= VideoSampleTest(handle, unit.data, unit.size, &test);
        }
        return result == 0;
    });
}

void MeasureGetParameterSetData(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CParseHandle handle(key.codec);
    Measure(state, stream.size, stream.accessUnits.size(), [&] {
        int64_t result = 0;
        for (const AccessUnit& unit : stream.accessUnits) {
            ParameterSetData sets;
            result |= GetParameterSetData(handle, unit.data, unit.size, &sets);
        }
        return result == 0;
    });
}

// Each call reads the same two small units. The stream makes no difference.
void MeasureSetParameterSetData(benchmark::State& state, const StreamKey& key, const Stream& stream)
{
    const CParseHandle source(key.codec);
    const CParseHandle handle(key.codec);
    ParameterSetData sets;
    GetParameterSetData(source, stream.accessUnits[0].data, stream.accessUnits[0].size, &sets);
    Measure(state, sets.spsSize + sets.ppsSize, 1,
            [&] { return SetParameterSetData(handle, sets.sps, sets.spsSize, sets.pps, sets.ppsSize) == 0; });
}

}  // namespace

void RegisterParseOperations(const StreamKey& key)
{
    Register(key, "ParseVideoParams", MeasureParseVideoParams);
    if (key.codec != VideoCodecAVC)
        return;
    Register(key, "GetNalFromFrame", MeasureGetNalFromFrame);
    Register(key, "SetVideoData + GetNalUnit", MeasureGetNalUnit);
    Register(key, "QueryType", MeasureQueryType);
    Register(key, "VideoSampleTest", MeasureVideoSampleTest);
    Register(key, "GetParameterSetData", MeasureGetParameterSetData);
    Register(key, "SetParameterSetData", MeasureSetParameterSetData);
}

}  // namespace bench
