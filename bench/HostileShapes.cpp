// The cost per byte of the worst streams. Each stream is the buffer of one call.

#include "Handles.h"
#include "Measure.h"
#include "Pictures.h"
#include "streams/BitWriter.h"

#include <cstdio>

namespace bench {

namespace {

using videoparams::streams::AvcUnit;
using videoparams::streams::BitWriter;
using videoparams::streams::HevcUnit;

constexpr size_t Million = 1000000;

// After so many calls, each block of the queue has grown: six in the ring, and the spare one.
constexpr int QueueBlocks = 7;

// Repeats the unit until the stream has so many bytes.
Bytes Repeat(const Bytes& unit, size_t size)
{
    Bytes bytes;
    bytes.reserve(size);
    while (bytes.size() + unit.size() <= size)
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    return bytes;
}

Bytes Join(const Bytes& front, const Bytes& repeated)
{
    Bytes bytes = front;
    bytes.insert(bytes.end(), repeated.begin(), repeated.end());
    return bytes;
}

// Parameter sets for the slices.
Bytes WithParameterSets(const Bytes& slices)
{
    return Join(PicturesOf(VideoCodecAVC).parameterSets, slices);
}

constexpr uint32_t LargestCount = UINT32_MAX - 1;  // of ue(v)

// The count says that billions of elements of one or a few bits follow. 64 bytes follow.
Bytes WithElements(BitWriter& rbsp)
{
    rbsp.Ue(LargestCount).Align(1);
    return rbsp.Append(Bytes(64 - rbsp.Written().size(), 0xFF)).Written();
}

Bytes AvcSequenceParameterSets(size_t size)
{
    BitWriter rbsp;
    rbsp.U(24, 0x42001E);                                 // profile_idc … level_idc
    rbsp.Ue(0);                                           // seq_parameter_set_id
    rbsp.Ue(0);                                           // log2_max_frame_num_minus4
    rbsp.Ue(1);                                           // pic_order_cnt_type
    rbsp.U(1, 0);                                         // delta_pic_order_always_zero_flag
    rbsp.Se(0);                                           // offset_for_non_ref_pic
    rbsp.Se(0);                                           // offset_for_top_to_bottom_field
    return Repeat(AvcUnit(7, WithElements(rbsp)), size);  // num_ref_frames_in_pic_order_cnt_cycle
}

Bytes HevcVideoParameterSets(size_t size)
{
    BitWriter rbsp;
    rbsp.U(32, 0x0C01FFFF);  // vps_video_parameter_set_id … vps_reserved_0xffff_16bits
    rbsp.Append({1, 0x60, 0, 0, 0, 0x90, 0, 0, 0, 0, 0, 0x5D});  // profile_tier_level()
    rbsp.U(1, 0);                                                // sub_layer_ordering_info_present_flag
    rbsp.Ue(0);
    rbsp.Ue(0);
    rbsp.Ue(0);
    rbsp.U(6, 63);                                          // vps_max_layer_id
    return Repeat(HevcUnit(32, WithElements(rbsp)), size);  // vps_num_layer_sets_minus1
}

struct Shape
{
    const char* name;
    size_t size;
    Bytes (*make)(size_t size);
    VideoCodecType codec = VideoCodecAVC;
};

const Shape shapes[] = {
    {"zeros", 5 * Million, [](size_t size) { return Bytes(size); }},
    {"FF", 5 * Million, [](size_t size) { return Bytes(size, 0xFF); }},
    {"zeros in an SEI unit", 5 * Million,
     [](size_t size) {
         return Join({0, 0, 1, 6}, Bytes(size));
     }},
    {"zeros in a slice", 5 * Million,
     [](size_t size) {
         return Join({0, 0, 1, 0x65}, Bytes(size));
     }},
    {"00 00 03 in an SEI unit", 6 * Million,
     [](size_t size) {
         return Join({0, 0, 1, 6}, Repeat({0, 0, 3}, size));
     }},
    {"00 00 03 in a slice", 6 * Million,
     [](size_t size) {
         return Join({0, 0, 1, 0x65}, Repeat({0, 0, 3}, size));
     }},
    {"FF in an SEI unit", 5 * Million,
     [](size_t size) {
         return Join({0, 0, 1, 6}, Bytes(size, 0xFF));
     }},
    {"delimiters of 5 bytes", 5 * Million,
     [](size_t size) {
         return Repeat({0, 0, 1, 9, 0x10}, size);
     }},
    {"SEI units of 5 bytes", 5 * Million,
     [](size_t size) {
         return Repeat({0, 0, 1, 6, 0x80}, size);
     }},
    {"slices of 5 bytes", 5 * Million,
     [](size_t size) {
         return Repeat({0, 0, 1, 0x65, 0x88}, size);
     }},
    {"empty units", 3 * Million,
     [](size_t size) {
         return Repeat({0, 0, 1}, size);
     }},
    {"an access unit of slices of 5 bytes", 2 * Million,
     [](size_t size) {
         return WithParameterSets(Repeat({0, 0, 1, 0x65, 0x88}, size));
     }},
    {"SPS of 64 bytes with the largest count", 5 * Million, AvcSequenceParameterSets},
    {"H.265 VPS of 64 bytes with the largest count", 5 * Million, HevcVideoParameterSets, VideoCodecHEVC},
    {"a slice", 200 * Million,
     [](size_t size) {
         return WithParameterSets(Join({0, 0, 1, 0x65, 0x88}, Bytes(size, 0x55)));
     }},
    {"an SEI unit", 200 * Million,
     [](size_t size) {
         return Join({0, 0, 1, 6}, Bytes(size, 0x80));
     }},
};

using Call = void (*)(void* handle, unsigned char* data, unsigned int size);

void Split(void* handle, unsigned char* data, unsigned int size)
{
    unsigned int count = 0;
    unsigned char** units = nullptr;
    unsigned int* sizes = nullptr;
    GetNalFromFrame(handle, data, size, &count, &units, &sizes);
}

// The result for a skipped unit is that of the end, and the next call continues after it.
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
void RegisterShape(const Shape& shape, size_t size, const char* operation, Call call)
{
    char sizeName[32];
    std::snprintf(sizeName, sizeof sizeName, " (%g MB)", static_cast<double>(size) / Million);
    const std::string name = std::string("hostile/") + shape.name + sizeName + "/" + operation;
    benchmark::RegisterBenchmark(name.c_str(), [&shape, size, call](benchmark::State& state) {
        Bytes bytes = shape.make(size);
        const Handle handle(shape.codec);
        const auto pass = [&] {
            call(handle, bytes.data(), static_cast<unsigned int>(bytes.size()));
            return true;
        };
        Measure(state, bytes.size(), 1, pass, QueueBlocks);
    });
}

}  // namespace

// Each shape in two sizes: if the cost grows faster than the bytes, the two figures differ.
void RegisterHostileShapes()
{
    for (const Shape& shape : shapes) {
        for (const size_t size : {shape.size / 10, shape.size}) {
            for (const auto& operation : parseOperations) {
                if (shape.codec == VideoCodecAVC || operation.call == Analyse)
                    RegisterShape<CParseHandle>(shape, size, operation.name, operation.call);
            }
            for (const auto& operation : userDataOperations)
                RegisterShape<CUserDataHandle>(shape, size, operation.name, operation.call);
        }
    }
}

}  // namespace bench
