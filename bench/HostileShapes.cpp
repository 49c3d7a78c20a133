// What the worst streams cost, a byte. Each is one call's buffer.

#include "Handles.h"
#include "Measure.h"
#include "Pictures.h"

#include <functional>

namespace bench {

namespace {

constexpr size_t Million = 1000000;

// Each of them has grown when all have been through it: six in the ring and the spare one.
constexpr int QueueBlocks = 7;

Bytes Repeat(const Bytes& unit, size_t count)
{
    Bytes bytes;
    bytes.reserve(unit.size() * count);
    for (size_t i = 0; i < count; ++i)
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    return bytes;
}

Bytes Behind(const Bytes& front, const Bytes& repeated)
{
    Bytes bytes = front;
    bytes.insert(bytes.end(), repeated.begin(), repeated.end());
    return bytes;
}

// One access unit of two megabytes: slices that can be read, all of one picture.
Bytes SlicesOfOnePicture()
{
    Bytes bytes;
    avcPictures.WriteParameterSets(bytes);
    return Behind(bytes, Repeat({0, 0, 1, 0x65, 0x88}, 2 * Million / 5));
}

struct Shape
{
    const char* name;
    std::function<Bytes()> make;
};

const Shape shapes[] = {
    {"zeros", [] { return Bytes(5 * Million); }},
    {"zeros in a SEI unit",
     [] {
         return Behind({0, 0, 1, 6}, Bytes(5 * Million));
     }},
    {"zeros in a slice",
     [] {
         return Behind({0, 0, 1, 0x65}, Bytes(5 * Million));
     }},
    {"00 00 03 in a SEI unit",
     [] {
         return Behind({0, 0, 1, 6}, Repeat({0, 0, 3}, 2 * Million));
     }},
    {"00 00 03 in a slice",
     [] {
         return Behind({0, 0, 1, 0x65}, Repeat({0, 0, 3}, 2 * Million));
     }},
    {"FF in a SEI unit",
     [] {
         return Behind({0, 0, 1, 6}, Repeat({0xFF}, 5 * Million));
     }},
    {"a million delimiters of 5 bytes",
     [] {
         return Repeat({0, 0, 1, 9, 0x10}, Million);
     }},
    {"a million SEI units of 5 bytes",
     [] {
         return Repeat({0, 0, 1, 6, 0x80}, Million);
     }},
    {"a million slices of 5 bytes",
     [] {
         return Repeat({0, 0, 1, 0x65, 0x88}, Million);
     }},
    {"a million empty units",
     [] {
         return Repeat({0, 0, 1}, Million);
     }},
    {"an access unit of 400000 slices", SlicesOfOnePicture},
};

using Call = void (*)(void* handle, unsigned char* data, unsigned int size);

void Split(void* handle, unsigned char* data, unsigned int size)
{
    unsigned int count = 0;
    unsigned char** units = nullptr;
    unsigned int* sizes = nullptr;
    GetNalFromFrame(handle, data, size, &count, &units, &sizes);
}

// A unit that is skipped answers like the end, and the call behind it goes on.
void Iterate(void* handle, unsigned char* data, unsigned int size)
{
    SetVideoData(handle, data, size);
    for (bool isLast = false; !isLast;) {
        unsigned char* unit = nullptr;
        unsigned int unitSize = 0;
        bool isSlice = false;
        unsigned int headerLength = 0;
        isLast = GetNalUnit(handle, &unit, &unitSize, &isSlice, &headerLength) != 0;
    }
}

void Analyse(void* handle, unsigned char* data, unsigned int size)
{
    VideoInfo info;
    ParseVideoParams(handle, data, size, &info);
    ParseVideoParams(handle, nullptr, 0, &info);
}

void Query(void* handle, unsigned char* data, unsigned int size)
{
    VideoPicType type;
    QueryType(handle, data, size, type);
}

void Test(void* handle, unsigned char* data, unsigned int size)
{
    VideoInfoEx test;
    VideoSampleTest(handle, data, size, &test);
}

void GetSets(void* handle, unsigned char* data, unsigned int size)
{
    ParameterSetData sets;
    GetParameterSetData(handle, data, size, &sets);
}

void Add(void* handle, unsigned char* data, unsigned int size)
{
    const unsigned char* output = nullptr;
    unsigned int outputSize = 0;
    AddUserData(handle, data, size, data, 100, &output, &outputSize);
}

void Get(void* handle, unsigned char* data, unsigned int size)
{
    const unsigned char* output = nullptr;
    unsigned int outputSize = 0;
    GetUserData(handle, data, size, &output, &outputSize);
}

void Remove(void* handle, unsigned char* data, unsigned int size)
{
    const unsigned char* output = nullptr;
    unsigned int outputSize = 0;
    RemoveUserData(handle, data, size, &output, &outputSize);
}

const struct
{
    const char* name;
    Call call;
} parseOperations[] =
    {
        {"GetNalFromFrame", Split},    {"SetVideoData + GetNalUnit", Iterate},
        {"ParseVideoParams", Analyse}, {"QueryType", Query},
        {"VideoSampleTest", Test},     {"GetParameterSetData", GetSets},
},
  userDataOperations[] = {
      {"AddUserData", Add},
      {"GetUserData", Get},
      {"RemoveUserData", Remove},
};

template <typename Handle>
void RegisterShape(const Shape& shape, const char* operation, Call call)
{
    const std::string name = std::string("hostile/") + shape.name + "/" + operation;
    benchmark::RegisterBenchmark(name.c_str(), [&shape, call](benchmark::State& state) {
        Bytes bytes = shape.make();
        const Handle handle(VideoCodecAVC);
        const auto pass = [&] {
            call(handle, bytes.data(), static_cast<unsigned int>(bytes.size()));
            return true;
        };
        Measure(state, bytes.size(), 1, pass, QueueBlocks);
    });
}

}  // namespace

void RegisterHostileShapes()
{
    for (const Shape& shape : shapes) {
        for (const auto& operation : parseOperations)
            RegisterShape<CParseHandle>(shape, operation.name, operation.call);
        for (const auto& operation : userDataOperations)
            RegisterShape<CUserDataHandle>(shape, operation.name, operation.call);
    }
}

}  // namespace bench
