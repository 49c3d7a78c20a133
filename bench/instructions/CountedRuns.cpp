// Runs every operation over fixed inputs. scripts/instructions.sh counts the instructions of each run.
//
//     counted-runs H264_STREAM H265_STREAM
//
// Prints the name of each run, in the order of the runs.

#include "FixedInput.h"

#include <cstdio>
#include <exception>

// callgrind counts the instructions of this function alone.
extern "C" __attribute__((noinline)) void CountedRun(void (*operation)(void*, const CFixedInput&),
                                                     void* handle, const CFixedInput& input)
{
    operation(handle, input);
}

namespace {

void Parse(void* handle, const CFixedInput& input)
{
    VideoInfo info;
    for (const Range& unit : input.Units())
        ParseVideoParams(handle, unit.data, unit.size, &info);
    ParseVideoParams(handle, nullptr, 0, &info);
}

void Test(void* handle, const CFixedInput& input)
{
    VideoInfoEx test;
    for (const Range& unit : input.AccessUnits())
        VideoSampleTest(handle, unit.data, unit.size, &test);
}

void Query(void* handle, const CFixedInput& input)
{
    VideoPicType type;
    for (const Range& unit : input.AccessUnits())
        QueryType(handle, unit.data, unit.size, type);
}

void FindParameterSets(void* handle, const CFixedInput& input)
{
    ParameterSetData sets;
    for (const Range& unit : input.AccessUnits())
        GetParameterSetData(handle, unit.data, unit.size, &sets);
}

void Iterate(void* handle, const CFixedInput& input)
{
    unsigned char* data;
    unsigned int size, headerLength;
    bool isSlice;
    for (const Range& unit : input.AccessUnits()) {
        SetVideoData(handle, unit.data, unit.size);
        while (GetNalUnit(handle, &data, &size, &isSlice, &headerLength) == 0)
            continue;
    }
}

void Split(void* handle, const CFixedInput& input)
{
    unsigned int count, *sizes;
    unsigned char** units;
    for (const Range& unit : input.AccessUnits())
        GetNalFromFrame(handle, unit.data, unit.size, &count, &units, &sizes);
}

void Add(void* handle, const CFixedInput& input)
{
    const unsigned char* output = nullptr;
    unsigned int size;
    for (const Range& unit : input.AccessUnits())
        AddUserData(handle, unit.data, unit.size, reinterpret_cast<const unsigned char*>("text"), 4, &output,
                    &size);
}

void Get(void* handle, const CFixedInput& input)
{
    const unsigned char* output = nullptr;
    unsigned int size;
    for (const Range& unit : input.AccessUnits())
        GetUserData(handle, unit.data, unit.size, &output, &size);
}

void Remove(void* handle, const CFixedInput& input)
{
    const unsigned char* output = nullptr;
    unsigned int size;
    for (const Range& unit : input.AccessUnits())
        RemoveUserData(handle, unit.data, unit.size, &output, &size);
}

struct Operation
{
    const char* name;
    void (*run)(void* handle, const CFixedInput& input);
    bool isForHevc;
    bool edits;  // takes a handle for user data and a stream with user data
};

constexpr Operation Operations[] = {
    {"ParseVideoParams", Parse, true, false}, {"VideoSampleTest", Test, false, false},
    {"QueryType", Query, false, false},       {"GetParameterSetData", FindParameterSets, false, false},
    {"GetNalUnit", Iterate, false, false},    {"GetNalFromFrame", Split, false, false},
    {"AddUserData", Add, true, true},         {"GetUserData", Get, true, true},
    {"RemoveUserData", Remove, true, true},
};

// Once to let the handle's blocks grow, then counted.
void Run(const Operation& operation, const CFixedInput& input)
{
    void* handle = nullptr;
    if (operation.edits)
        UserDataCreate(&handle, input.Codec());
    else
        ParseCreate(&handle, input.Codec(), 0, 0);
    operation.run(handle, input);
    CountedRun(operation.run, handle, input);
    operation.edits ? UserDataRelease(handle) : ParseRelease(handle);
}

void RunAll(const char* file, VideoCodecType codec)
{
    for (const Payload payload : {Payload::Real, Payload::Plain, Payload::Dense, Payload::Misaligned}) {
        const CFixedInput stream(file, codec, payload);
        const CFixedInput marked = stream.WithUserData();
        for (const Operation& operation : Operations) {
            if (codec == VideoCodecHEVC && !operation.isForHevc)
                continue;
            std::printf("%s %s %s\n", codec == VideoCodecAVC ? "H.264" : "H.265", operation.name,
                        PayloadNames[static_cast<int>(payload)]);
            Run(operation, operation.edits ? marked : stream);
        }
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: counted-runs H264_STREAM H265_STREAM\n");
        return 2;
    }
    try {
        RunAll(argv[1], VideoCodecAVC);
        RunAll(argv[2], VideoCodecHEVC);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
