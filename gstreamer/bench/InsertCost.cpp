// What vpuserdatainsert costs, next to a call of AddUserData and one copy of its result. Prints a table in
// Markdown.
//
//     gst-insert-cost PLUGIN_FILE

#include <VideoParams.h>
#include <gst/check/gstharness.h>
#include <gst/gst.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

namespace {

constexpr size_t UnitCount = 1000;
constexpr size_t UnitSize = 60000;
constexpr int RoundCount = 15;

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

// One pass over all units, in microseconds for each.
double Time(const std::function<void()>& pass)
{
    using namespace std::chrono;
    const auto start = steady_clock::now();
    pass();
    return duration<double, std::micro>(steady_clock::now() - start).count() / UnitCount;
}

void CallAndCopy(void* handle, const std::vector<Bytes>& units)
{
    for (const Bytes& unit : units) {
        const unsigned char* output = nullptr;
        unsigned int size = 0;
        AddUserData(handle, unit.data(), static_cast<unsigned int>(unit.size()),
                    reinterpret_cast<const unsigned char*>(message), sizeof message - 1, &output, &size);
        GstBuffer* const copy = gst_buffer_new_allocate(nullptr, size, nullptr);
        gst_buffer_fill(copy, 0, output, size);
        gst_buffer_unref(copy);
    }
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
void PushAll(GstHarness* harness, const std::vector<GstBuffer*>& buffers, bool isMapping)
{
    for (GstBuffer* const buffer : buffers) {
        gst_harness_push(harness, buffer);
        GstBuffer* const output = gst_harness_pull(harness);
        GstMapInfo map;
        if (isMapping && gst_buffer_map(output, &map, GST_MAP_READ))
            gst_buffer_unmap(output, &map);
        gst_buffer_unref(output);
    }
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Measure(const Codec& codec)
{
    const std::vector<Bytes> units = MakeUnits(codec);
    void* handle = nullptr;
    UserDataCreate(&handle, codec.type);
    GstHarness* const harness = gst_harness_new_parse("vpuserdatainsert name=insert");
    GstElement* const insert = gst_harness_find_element(harness, "vpuserdatainsert");
    g_object_set(insert, "text", message, nullptr);
    gst_object_unref(insert);
    gst_harness_set_src_caps_str(harness, codec.caps);

    // The rounds alternate, so that a change of the machine's speed meets all.
    std::vector<double> call, element, mapped;
    for (int round = 0; round < RoundCount; ++round) {
        call.push_back(Time([&] { CallAndCopy(handle, units); }));
        std::vector<GstBuffer*> buffers = MakeBuffers(units);
        element.push_back(Time([&] { PushAll(harness, buffers, false); }));
        buffers = MakeBuffers(units);
        mapped.push_back(Time([&] { PushAll(harness, buffers, true); }));
    }
    const double base = Median(call);
    std::printf("| %s | %.1f | %.1f | %.2f | %.1f | %.2f |\n", codec.name, base, Median(element),
                Median(element) / base, Median(mapped), Median(mapped) / base);
    gst_harness_teardown(harness);
    UserDataRelease(handle);
}

}  // namespace

int main(int argc, char** argv)
{
    gst_init(&argc, &argv);
    GstPlugin* const plugin = argc == 2 ? gst_plugin_load_file(argv[1], nullptr) : nullptr;
    if (plugin == nullptr) {
        std::fprintf(stderr, "usage: gst-insert-cost PLUGIN_FILE\n");
        return 2;
    }
    std::puts("| stream | `AddUserData` and one copy, µs | `vpuserdatainsert`, µs | ratio | with the result "
              "mapped in one "
              "piece, µs | ratio |\n|---|---|---|---|---|---|");
    for (const Codec& codec : codecs)
        Measure(codec);
    gst_object_unref(plugin);
    return 0;
}
