// What the native library says about a stream, for the tests and the benchmark of the package.
//
//     host facts h264|h265 FILE       everything, as JSON
//     host speed h264|h265 FILE       bytes a second of a search for units and of the analysis

#include "VideoParams.h"
#include "videoparams/nal_feeder.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// FNV-1a
uint32_t Hash(const unsigned char* bytes, size_t size)
{
    uint32_t hash = 0x811C9DC5;
    for (size_t i = 0; i < size; ++i)
        hash = (hash ^ bytes[i]) * 0x01000193;
    return hash;
}

template <class Taker>
void ForEachUnit(const Bytes& stream, CNalFeeder::ShortUnits shortUnits, Taker take)
{
    CNalFeeder feeder(shortUnits);
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        take(unit, size, feeder.Offset());
    };
    feeder.Feed(stream.data(), stream.size(), takeUnit);
    feeder.Finish(takeUnit);
}

template <class Taker>
void ForEachReport(VideoCodecType codec, const Bytes& stream, Taker take)
{
    void* parser = nullptr;
    ParseCreate(&parser, codec, 0, 0);
    VideoInfo info;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size, uint64_t) {
        ParseVideoParams(parser, unit, size, &info);
        if (info.accessUnitFound)
            take(info);
    };
    ForEachUnit(stream, CNalFeeder::ShortUnits::Join, takeUnit);
    takeUnit(nullptr, 0, 0);
    ParseRelease(parser);
}

void PrintEdits(VideoCodecType codec, const VideoInfo& report)
{
    const char payload[] = "take \0\0\1 7";
    void* editor = nullptr;
    const unsigned char* edited = nullptr;
    const unsigned char* found = nullptr;
    unsigned int editedSize = 0;
    unsigned int foundSize = 0;
    UserDataCreate(&editor, codec);
    AddUserData(editor, report.accessUnitData, report.accessUnitSize,
                reinterpret_cast<const unsigned char*>(payload), sizeof payload, &edited, &editedSize);
    std::printf(",\"added\":%u", Hash(edited, editedSize));
    GetUserData(editor, report.accessUnitData, report.accessUnitSize, &found, &foundSize);
    std::printf(",\"carried\":%d", found == nullptr ? -1 : static_cast<int>(foundSize));
    RemoveUserData(editor, report.accessUnitData, report.accessUnitSize, &edited, &editedSize);
    std::printf(",\"removed\":%u", Hash(edited, editedSize));
    UserDataRelease(editor);
}

void PrintReports(VideoCodecType codec, const Bytes& stream)
{
    void* tester = nullptr;
    ParseCreate(&tester, codec, 0, 0);
    const char* separator = "";
    ForEachReport(codec, stream, [&](const VideoInfo& report) {
        std::printf("%s\n{\"size\":%u,\"keyFrame\":%u,\"hash\":%u,\"valid\":%u,\"sequence\":[", separator,
                    report.accessUnitSize, report.keyFrame,
                    Hash(report.accessUnitData, report.accessUnitSize), report.sequenceInfoValid);
        const uint32_t* const sequence = &report.width;
        for (int i = 0; i < 11; ++i)
            std::printf("%s%u", i == 0 ? "" : ",", sequence[i]);
        VideoPicType type = VideoPicUnknown;
        VideoInfoEx test{};
        QueryType(tester, report.accessUnitData, report.accessUnitSize, type);
        const auto result = VideoSampleTest(tester, report.accessUnitData, report.accessUnitSize, &test);
        std::printf("],\"type\":%d,\"test\":[%u,%u,%u,%d]", static_cast<int>(type), test.sampleError,
                    test.isFrame, test.isIntra, static_cast<int>(result));
        PrintEdits(codec, report);
        std::printf("}");
        separator = ",";
    });
    ParseRelease(tester);
}

void PrintUnits(VideoCodecType codec, Bytes& stream)
{
    void* probe = nullptr;
    ParseCreate(&probe, codec, 0, 0);
    const char* separator = "";
    ForEachUnit(stream, CNalFeeder::ShortUnits::Separate,
                [&](const unsigned char* unit, unsigned int size, uint64_t at) {
                    unsigned char* found = nullptr;
                    unsigned int foundSize = 0;
                    unsigned int headerLength = 0;
                    bool isSlice = false;
                    SetVideoData(probe, const_cast<unsigned char*>(unit), size);
                    GetNalUnit(probe, &found, &foundSize, &isSlice, &headerLength);
                    std::printf("%s\n[%llu,%u,%d,%u]", separator, static_cast<unsigned long long>(at), size,
                                isSlice, headerLength);
                    separator = ",";
                });
    ParameterSetData sets{};
    GetParameterSetData(probe, stream.data(), static_cast<unsigned int>(stream.size()), &sets);
    std::printf("],\"sets\":[%u,%u", Hash(sets.sps, sets.spsSize), Hash(sets.pps, sets.ppsSize));
    ParseRelease(probe);
}

// Runs a task until it has taken a second and returns the bytes a second of the best round. Processor time is
// counted: the machine may do other work.
template <class Task>
double Measure(size_t bytesPerRound, Task task)
{
    double best = 1e9;
    for (double sum = 0; sum < 1;) {
        const std::clock_t begin = std::clock();
        task();
        const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
        best = std::min(best, seconds);
        sum += seconds;
    }
    return static_cast<double>(bytesPerRound) / best;
}

void PrintSpeed(VideoCodecType codec, Bytes& stream)
{
    void* splitter = nullptr;
    ParseCreate(&splitter, VideoCodecAVC, 0, 0);  // the search is the same for both codecs
    const double search = Measure(stream.size(), [&] {
        unsigned int count = 0;
        unsigned char** units = nullptr;
        unsigned int* sizes = nullptr;
        GetNalFromFrame(splitter, stream.data(), static_cast<unsigned int>(stream.size()), &count, &units,
                        &sizes);
    });
    ParseRelease(splitter);
    const double analysis =
        Measure(stream.size(), [&] { ForEachReport(codec, stream, [](const VideoInfo&) {}); });
    std::printf("{\"search\":%.0f,\"analysis\":%.0f}\n", search, analysis);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    const VideoCodecType codec = std::strcmp(argv[2], "h265") == 0 ? VideoCodecHEVC : VideoCodecAVC;
    std::ifstream file(argv[3], std::ios::binary);
    Bytes stream{std::istreambuf_iterator<char>(file), {}};
    if (std::strcmp(argv[1], "speed") == 0) {
        PrintSpeed(codec, stream);
        return 0;
    }
    std::printf("{\"reports\":[");
    PrintReports(codec, stream);
    std::printf("],\"units\":[");
    PrintUnits(codec, stream);
    std::printf("]}\n");
    return 0;
}
