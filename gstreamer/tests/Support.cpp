#include "Support.h"

#include <gst/video/video-sei.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace gsttest {

const guint8 LibraryIdentifier[16] = {0x99, 0xAE, 0xD3, 0x1B, 0xB8, 0x94, 0x4B, 0x97,
                                      0xAD, 0x39, 0xFB, 0x4E, 0xD5, 0x90, 0x2B, 0xA1};

namespace {

TestStream LoadStream(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes(std::istreambuf_iterator<char>(file), {});
    const auto units = nlohmann::json::parse(
        std::ifstream(std::filesystem::path(path).replace_extension("json")))["accessUnits"];
    TestStream stream{path.stem(),
                      path.extension() == ".h265" ? VideoCodecHEVC : VideoCodecAVC,
                      {},
                      units["keyFrames"],
                      units["nalUnitTypes"],
                      units["structures"]};
    auto next = bytes.begin();
    for (const std::ptrdiff_t size : units["sizes"]) {
        stream.accessUnits.emplace_back(next, next + size);
        next += size;
    }
    return stream;
}

std::vector<TestStream> LoadStreams()
{
    std::vector<TestStream> streams;
    for (const auto& entry : std::filesystem::directory_iterator(TEST_STREAMS_DIR)) {
        if (entry.path().extension() == ".h264" || entry.path().extension() == ".h265")
            streams.push_back(LoadStream(entry.path()));
    }
    return streams;
}

}  // namespace

const char* TestStream::Caps() const
{
    return codec == VideoCodecHEVC ? "video/x-h265, stream-format=byte-stream, alignment=au"
                                   : "video/x-h264, stream-format=byte-stream, alignment=au";
}

const std::vector<TestStream>& TestStreams()
{
    static const std::vector<TestStream> streams = LoadStreams();
    return streams;
}

const TestStream& StreamOf(const std::string& name)
{
    return *std::find_if(TestStreams().begin(), TestStreams().end(),
                         [&](const TestStream& stream) { return stream.name == name; });
}

Buffer NewBuffer(const Bytes& bytes, GstClockTime pts)
{
    Buffer buffer(gst_buffer_new_allocate(nullptr, bytes.size(), nullptr));
    gst_buffer_fill(buffer.get(), 0, bytes.data(), bytes.size());
    GST_BUFFER_PTS(buffer.get()) = pts;
    return buffer;
}

Bytes BytesOf(GstBuffer* buffer)
{
    Bytes bytes(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    return bytes;
}

Bytes BytesOf(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

std::vector<Bytes> MetasOf(GstBuffer* buffer, const guint8* identifier)
{
    std::vector<Bytes> payloads;
    gpointer state = nullptr;
    while (GstMeta* const meta = gst_buffer_iterate_meta_filtered(
               buffer, &state, GST_VIDEO_SEI_USER_DATA_UNREGISTERED_META_API_TYPE)) {
        const auto* const message = reinterpret_cast<GstVideoSEIUserDataUnregisteredMeta*>(meta);
        if (std::equal(message->uuid, message->uuid + 16, identifier))
            payloads.emplace_back(message->data, message->data + message->size);
    }
    return payloads;
}

CElementHarness::CElementHarness(const std::string& description, const char* caps)
    : harness(gst_harness_new_parse(description.c_str())), bus(gst_bus_new())
{
    gst_element_set_bus(harness->element, bus);
    gst_harness_set_src_caps_str(harness, caps);
}

CElementHarness::~CElementHarness()
{
    gst_harness_teardown(harness);
    gst_bus_set_flushing(bus, TRUE);
    gst_object_unref(bus);
}

Buffer CElementHarness::Pass(Buffer buffer)
{
    gst_harness_push(harness, buffer.release());
    return Buffer(gst_harness_try_pull(harness));
}

std::vector<Message> CElementHarness::Messages(GstMessageType type)
{
    std::vector<Message> messages;
    while (GstMessage* const message = gst_bus_pop_filtered(bus, type))
        messages.emplace_back(message);
    return messages;
}

GstElement* CElementHarness::Find(const std::string& factory)
{
    GstElement* const element = gst_harness_find_element(harness, factory.c_str());
    gst_object_unref(element);
    return element;
}

Structure CElementHarness::Stats(const std::string& factory)
{
    GstStructure* stats = nullptr;
    g_object_get(Find(factory), "stats", &stats, nullptr);
    return Structure(stats);
}

Bytes LastMessage(const TestStream& stream, const Bytes& accessUnit)
{
    void* handle = nullptr;
    const unsigned char* found = nullptr;
    unsigned int size = 0;
    UserDataCreate(&handle, stream.codec);
    GetUserData(handle, accessUnit.data(), static_cast<unsigned int>(accessUnit.size()), &found, &size);
    const Bytes message(found, found + size);
    UserDataRelease(handle);
    return message;
}

bool Push(CElementHarness& harness, const Bytes& message)
{
    gboolean isTaken = FALSE;
    GBytes* const bytes = g_bytes_new(message.data(), message.size());
    g_signal_emit_by_name(harness.Find("vpuserdatainsert"), "push", bytes, &isTaken);
    g_bytes_unref(bytes);
    return isTaken != FALSE;
}

guint64 CountIn(const GstStructure* structure, const char* field)
{
    guint64 count = G_MAXUINT64;
    EXPECT_TRUE(gst_structure_get_uint64(structure, field, &count)) << field;
    return count;
}

}  // namespace gsttest
