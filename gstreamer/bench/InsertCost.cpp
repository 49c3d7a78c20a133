// What vpuserdatainsert costs, next to a call of AddUserData and one copy of its result. Prints a table in
// Markdown, and whether the target is met. All figures are processor time of this thread, in which the
// elements run too.
//
//     gst_insert_cost PLUGIN_FILE

#include <VideoParams.h>
#include <gst/check/gstharness.h>
#include <gst/gst.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

namespace {

constexpr size_t UnitCount = 1000;
constexpr size_t UnitSize = 60000;
constexpr size_t RoundCount = 31;
constexpr double MostRatio = 1.3;

using Bytes = std::vector<unsigned char>;

struct Codec
{
    const char* name;
    const char* caps;
    VideoCodecType type;
    Bytes head;  // delimiter and the first bytes of a slice
};

const Codec codecs[] = {
    {"H.264",
     "video/x-h264, stream-format=byte-stream, alignment=au",
     VideoCodecAVC,
     {0, 0, 0, 1, 0x09, 0x30, 0, 0, 0, 1, 0x41, 0x9A}},
    {"H.265",
     "video/x-h265, stream-format=byte-stream, alignment=au",
     VideoCodecHEVC,
     {0, 0, 0, 1, 0x46, 0x01, 0x50, 0, 0, 0, 1, 0x02, 0x01, 0xD0}},
};

const char message[] = "2024-05-17T12:34:56.789Z camera 7";

std::vector<Bytes> MakeUnits(const Codec& codec)
{
    std::mt19937 random(1);
    std::vector<Bytes> units;
    for (size_t i = 0; i < UnitCount; ++i) {
        Bytes unit = codec.head;
        while (unit.size() < UnitSize)
            unit.push_back(static_cast<unsigned char>(1 + random() % 255));
        units.push_back(std::move(unit));
    }
    return units;
}

double Now()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

struct Pass
{
    double time;       // microseconds for each unit
    size_t byteCount;  // that came out
};

Pass CallAndCopy(void* handle, const std::vector<Bytes>& units)
{
    size_t byteCount = 0;
    const double start = Now();
    for (const Bytes& unit : units) {
        const unsigned char* output = nullptr;
        unsigned int size = 0;
        AddUserData(handle, unit.data(), static_cast<unsigned int>(unit.size()),
                    reinterpret_cast<const unsigned char*>(message), sizeof message - 1, &output, &size);
        GstBuffer* const copy = gst_buffer_new_allocate(nullptr, size, nullptr);
        byteCount += gst_buffer_fill(copy, 0, output, size);
        gst_buffer_unref(copy);
    }
    return {(Now() - start) / UnitCount, byteCount};
}

std::vector<GstBuffer*> MakeBuffers(const std::vector<Bytes>& units)
{
    std::vector<GstBuffer*> buffers;
    for (const Bytes& unit : units)
        buffers.push_back(gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY,
                                                      const_cast<unsigned char*>(unit.data()), unit.size(), 0,
                                                      unit.size(), nullptr, nullptr));
    return buffers;
}

// With isMapping, the next element maps each buffer in one piece, which joins the new and the shared memory.
Pass PushAll(GstHarness* harness, const std::vector<Bytes>& units, bool isMapping)
{
    const std::vector<GstBuffer*> buffers = MakeBuffers(units);
    size_t byteCount = 0;
    const double start = Now();
    for (GstBuffer* const buffer : buffers) {
        gst_harness_push(harness, buffer);
        GstBuffer* const output = gst_harness_pull(harness);
        GstMapInfo map;
        if (isMapping && gst_buffer_map(output, &map, GST_MAP_READ))
            gst_buffer_unmap(output, &map);
        byteCount += gst_buffer_get_size(output);
        gst_buffer_unref(output);
    }
    return {(Now() - start) / UnitCount, byteCount};
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

GstHarness* NewHarness(const Codec& codec)
{
    GstHarness* const harness = gst_harness_new_parse("vpuserdatainsert name=insert");
    GstElement* const insert = gst_harness_find_element(harness, "vpuserdatainsert");
    g_object_set(insert, "text", message, nullptr);
    gst_object_unref(insert);
    gst_harness_set_src_caps_str(harness, codec.caps);
    return harness;
}

// Prints the medians of one codec. False: the target is missed. The three ways take turns within a round,
// each first in a third of the rounds, and a ratio compares times of one round: a change of the machine's
// speed meets all.
bool Measure(const Codec& codec)
{
    const std::vector<Bytes> units = MakeUnits(codec);
    void* handle = nullptr;
    UserDataCreate(&handle, codec.type);
    GstHarness* const harness = NewHarness(codec);
    const std::function<Pass()> ways[] = {
        [&] { return CallAndCopy(handle, units); },
        [&] { return PushAll(harness, units, false); },
        [&] { return PushAll(harness, units, true); },
    };
    std::vector<double> times[3], ratios[3];
    bool isSame = true;
    for (size_t round = 0; round < RoundCount; ++round) {
        Pass now[3];
        for (size_t turn = 0; turn < 3; ++turn)
            now[(round + turn) % 3] = ways[(round + turn) % 3]();
        for (size_t way = 0; way < 3; ++way) {
            times[way].push_back(now[way].time);
            ratios[way].push_back(now[way].time / now[0].time);
            isSame = isSame && now[way].byteCount == now[0].byteCount;
        }
    }
    gst_harness_teardown(harness);
    UserDataRelease(handle);
    std::printf("| %s | %.1f | %.1f | %.2f | %.1f | %.2f |\n", codec.name, Median(times[0]), Median(times[1]),
                Median(ratios[1]), Median(times[2]), Median(ratios[2]));
    if (!isSame)
        std::fprintf(stderr, "The element and the library do not insert the same number of bytes.\n");
    return isSame && std::max(Median(ratios[1]), Median(ratios[2])) <= MostRatio;
}

}  // namespace

int main(int argc, char** argv)
{
    gst_init(&argc, &argv);
    GstPlugin* const plugin = argc == 2 ? gst_plugin_load_file(argv[1], nullptr) : nullptr;
    if (plugin == nullptr) {
        std::fprintf(stderr, "usage: gst_insert_cost PLUGIN_FILE\n");
        return 2;
    }
    std::puts("| stream | `AddUserData` and one copy, µs | `vpuserdatainsert`, µs | ratio | with the result "
              "mapped in one piece, µs | ratio |\n|---|---|---|---|---|---|");
    bool isMet = true;
    for (const Codec& codec : codecs)
        isMet = Measure(codec) && isMet;
    std::printf("\nTarget: both ratios at most %.1f: %s\n", MostRatio, isMet ? "met" : "missed");
    gst_object_unref(plugin);
    return isMet ? 0 : 1;
}
