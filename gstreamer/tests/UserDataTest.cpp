// vpuserdatainsert and vpuserdataextract, together and alone.

#include "Support.h"

#include <gst/video/video-sei.h>
#include <gtest/gtest.h>
#include <videoparams/timestamp.h>

#include <chrono>
#include <random>
#include <thread>

namespace gsttest {

namespace {

// The message that the library itself finds last.
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

// The same bytes in pieces of 1 to 64 bytes, at most 15 of them.
Buffer SplitBuffer(const Bytes& bytes, std::mt19937& random)
{
    Buffer buffer(gst_buffer_new());
    size_t start = 0;
    for (int piece = 0; start < bytes.size(); ++piece) {
        const size_t size =
            piece == 14 ? bytes.size() - start : std::min(bytes.size() - start, size_t{1} + random() % 64);
        gst_buffer_append(buffer.get(),
                          NewBuffer(Bytes(bytes.begin() + start, bytes.begin() + start + size)).release());
        start += size;
    }
    return buffer;
}

bool Push(CElementHarness& harness, const Bytes& message)
{
    gboolean isTaken = FALSE;
    GBytes* const bytes = g_bytes_new(message.data(), message.size());
    g_signal_emit_by_name(harness.Find("vpuserdatainsert"), "push", bytes, &isTaken);
    g_bytes_unref(bytes);
    return isTaken != FALSE;
}

// Bytes from 0 to 4: most need emulation prevention
Bytes AwkwardMessage(size_t number)
{
    Bytes message;
    for (size_t digits = number * 7919; message.size() <= number % 300;
         digits = digits / 5 + message.size() * 31)
        message.push_back(static_cast<guint8>(digits % 5));
    return message;
}

}  // namespace

TEST(UserData, EachPictureOfEachStreamGetsItsMessagesAndGivesThemBack)
{
    for (const TestStream& stream : TestStreams()) {
        SCOPED_TRACE(stream.name);
        CElementHarness insert("vpuserdatainsert text=take", stream.Caps());
        CElementHarness extract("vpuserdataextract remove=true", stream.Caps());
        for (size_t i = 0; i < stream.accessUnits.size(); ++i) {
            const Bytes& original = stream.accessUnits[i];
            const Bytes first = AwkwardMessage(i + 1), second = AwkwardMessage(i + 1000);
            ASSERT_TRUE(Push(insert, first) && Push(insert, second));

            Buffer changed = insert.Pass(original, i);
            ASSERT_EQ(LastMessage(stream, BytesOf(changed.get())), BytesOf("take"));
            Buffer restored = extract.Pass(std::move(changed));
            ASSERT_EQ(BytesOf(restored.get()), original) << i;
            ASSERT_EQ(MetasOf(restored.get(), LibraryIdentifier),
                      (std::vector<Bytes>{first, second, BytesOf("take")}));
            ASSERT_EQ(extract.Messages().size(), 3u);
        }
        EXPECT_EQ(CountIn(extract.Stats("vpuserdataextract").get(), "count"), 3 * stream.accessUnits.size());
    }
}

TEST(UserData, BuffersOfSeveralMemoriesAndSharedBuffersGiveTheSame)
{
    std::mt19937 random(1);
    for (const char* name : {"avc-hrd", "avc-slices", "hevc-hrd", "hevc-slices"}) {
        const TestStream& stream = StreamOf(name);
        CElementHarness whole("vpuserdatainsert text=take", stream.Caps());
        CElementHarness split("vpuserdatainsert text=take", stream.Caps());
        for (const Bytes& accessUnit : stream.accessUnits) {
            const Bytes expected = BytesOf(whole.Pass(accessUnit).get());
            Buffer kept = SplitBuffer(accessUnit, random);
            Buffer changed = split.Pass(Buffer(gst_buffer_ref(kept.get())));
            EXPECT_EQ(BytesOf(changed.get()), expected);
            EXPECT_EQ(BytesOf(kept.get()), accessUnit);  // somebody else holds it
        }
    }
}

TEST(UserData, ChangedBuffersKeepFlagsTimesMetasAndTheMemoryOfThePicture)
{
    const TestStream& stream = StreamOf("avc-1080");
    CElementHarness harness("vpuserdatainsert text=take", stream.Caps());
    Bytes large = stream.accessUnits[0];
    large.resize(200000, 0xAB);
    Buffer buffer = NewBuffer(large, 40);
    GST_BUFFER_DTS(buffer.get()) = 30;
    GST_BUFFER_DURATION(buffer.get()) = 20;
    GST_BUFFER_OFFSET(buffer.get()) = 7;
    GST_BUFFER_FLAG_SET(buffer.get(), GST_BUFFER_FLAG_MARKER | GST_BUFFER_FLAG_DELTA_UNIT |
                                          GST_BUFFER_FLAG_DISCONT | GST_BUFFER_FLAG_GAP);
    GstCaps* const reference = gst_caps_new_empty_simple("timestamp/x-unix");
    gst_buffer_add_reference_timestamp_meta(buffer.get(), reference, 5, 6);
    gst_caps_unref(reference);
    GstMapInfo before, after;
    gst_buffer_map(buffer.get(), &before, GST_MAP_READ);
    gst_buffer_unmap(buffer.get(), &before);

    Buffer changed = harness.Pass(std::move(buffer));
    EXPECT_EQ(GST_BUFFER_PTS(changed.get()), 40u);
    EXPECT_EQ(GST_BUFFER_DTS(changed.get()), 30u);
    EXPECT_EQ(GST_BUFFER_DURATION(changed.get()), 20u);
    EXPECT_EQ(GST_BUFFER_OFFSET(changed.get()), 7u);
    EXPECT_TRUE(gst_buffer_has_flags(
        changed.get(), static_cast<GstBufferFlags>(GST_BUFFER_FLAG_MARKER | GST_BUFFER_FLAG_DELTA_UNIT |
                                                   GST_BUFFER_FLAG_DISCONT | GST_BUFFER_FLAG_GAP)));
    const auto* const meta = gst_buffer_get_reference_timestamp_meta(changed.get(), nullptr);
    ASSERT_NE(meta, nullptr);
    EXPECT_EQ(meta->timestamp, 5u);
    // The end of the picture is where it was: it was not copied.
    GstMemory* const last = gst_buffer_peek_memory(changed.get(), gst_buffer_n_memory(changed.get()) - 1);
    gst_memory_map(last, &after, GST_MAP_READ);
    EXPECT_EQ(after.data + after.size, before.data + large.size());
    gst_memory_unmap(last, &after);
}

TEST(UserData, BuffersWithoutAChangePassAsTheyAre)
{
    const TestStream& stream = StreamOf("hevc-bframes");
    for (const char* description :
         {"vpuserdatainsert", "vpuserdatainsert text=take where=key", "vpuserdataextract",
          "vpuserdataextract remove=true", "vpcheck", "vpcheck fix-flags=true"}) {
        CElementHarness harness(description, stream.Caps());
        Buffer buffer = NewBuffer(stream.accessUnits[1]);
        GST_BUFFER_FLAG_SET(buffer.get(), GST_BUFFER_FLAG_DELTA_UNIT);
        Buffer kept(gst_buffer_ref(buffer.get()));
        EXPECT_EQ(harness.Pass(std::move(buffer)), kept) << description;
    }
}

TEST(UserData, EmptyAndDamagedBuffersPass)
{
    std::mt19937 random(2);
    for (const TestStream& stream : TestStreams()) {
        CElementHarness harness(
            "vpuserdatainsert text=take timestamp=utc ! vpuserdataextract remove=true ! vpcheck "
            "fix-flags=true",
            stream.Caps());
        EXPECT_NE(harness.Pass(Buffer(gst_buffer_new())), nullptr);
        EXPECT_NE(harness.Pass(Bytes()), nullptr);
        for (size_t i = 0; i < stream.accessUnits.size(); ++i) {
            Bytes damaged = stream.accessUnits[i];
            damaged.resize(1 + random() % damaged.size());
            for (int fault = 0; fault < 4; ++fault)
                damaged[random() % std::min(damaged.size(), size_t{80})] = static_cast<guint8>(random() % 7);
            const Buffer out = harness.Pass(damaged, i);
            ASSERT_NE(out, nullptr);
            EXPECT_EQ(GST_BUFFER_PTS(out.get()), i);
        }
    }
}

TEST(UserData, PushedMessagesOfManyThreadsAllArriveWithTheNextPicture)
{
    const TestStream& stream = StreamOf("avc-aud");
    CElementHarness harness("vpuserdatainsert max-queued=400", stream.Caps());
    std::vector<std::thread> threads;
    for (guint8 t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (guint8 i = 0; i < 100; ++i)
                EXPECT_TRUE(Push(harness, {t, i}));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(Push(harness, {1}));  // full

    CElementHarness extract("vpuserdataextract", stream.Caps());
    EXPECT_EQ(MetasOf(extract.Pass(harness.Pass(Bytes{0, 0, 0, 1, 9, 16})).get(), LibraryIdentifier).size(),
              0u);
    EXPECT_EQ(MetasOf(extract.Pass(harness.Pass(stream.accessUnits[0])).get(), LibraryIdentifier).size(),
              400u);
    EXPECT_EQ(MetasOf(extract.Pass(harness.Pass(stream.accessUnits[1])).get(), LibraryIdentifier).size(), 0u);

    EXPECT_TRUE(Push(harness, {1}));
    gst_harness_push_event(harness.Get(), gst_event_new_flush_start());
    gst_harness_push_event(harness.Get(), gst_event_new_flush_stop(TRUE));
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_harness_push_event(harness.Get(), gst_event_new_segment(&segment));
    EXPECT_EQ(BytesOf(harness.Pass(stream.accessUnits[2]).get()),
              stream.accessUnits[2]);  // the flush dropped it
}

TEST(UserData, MetasOfTheLibraryAreCarriedOnce)
{
    const TestStream& stream = StreamOf("hevc-aud");
    const Bytes message = BytesOf("from another element");
    CElementHarness insert("vpuserdatainsert", stream.Caps());
    CElementHarness both("vpuserdataextract ! vpuserdatainsert ! vpuserdataextract", stream.Caps());
    guint8 foreign[16] = {1}, own[16];
    std::copy_n(LibraryIdentifier, 16, own);
    Bytes copy = message;
    Buffer buffer = NewBuffer(stream.accessUnits[0]);
    gst_buffer_add_video_sei_user_data_unregistered_meta(buffer.get(), foreign, copy.data(), copy.size());
    gst_buffer_add_video_sei_user_data_unregistered_meta(buffer.get(), own, copy.data(), copy.size());

    Buffer carried = insert.Pass(std::move(buffer));
    const Bytes bytes = BytesOf(carried.get());
    EXPECT_EQ(LastMessage(stream, bytes), message);
    // The stream has what the meta holds: nothing is inserted, reported or attached a second time.
    Buffer again = both.Pass(std::move(carried));
    EXPECT_EQ(BytesOf(again.get()), bytes);
    EXPECT_EQ(MetasOf(again.get(), LibraryIdentifier), std::vector<Bytes>{message});
    EXPECT_EQ(both.Messages().size(), 2u);  // one of each extracting element
}

TEST(UserData, IntervalAndKeySelectPictures)
{
    const TestStream& stream = StreamOf("avc-headers-once");
    const auto picturesWith = [&](const std::string& properties) {
        CElementHarness harness("vpuserdatainsert text=take " + properties, stream.Caps());
        std::set<size_t> pictures;
        for (size_t i = 0; i < stream.accessUnits.size(); ++i) {
            if (BytesOf(harness.Pass(stream.accessUnits[i], i * 40 * GST_MSECOND).get()) !=
                stream.accessUnits[i])
                pictures.insert(i);
        }
        return pictures;
    };
    EXPECT_EQ(picturesWith("where=key"), stream.keyFrames);
    const std::set<size_t> expected = {0, 3, 5, 8, 10, 13, 15, 18, 20, 23, 25, 28};
    const std::set<size_t> found = picturesWith("where=interval interval=100");
    EXPECT_TRUE(std::includes(found.begin(), found.end(), expected.begin(), expected.end()));
    EXPECT_EQ(found.size(), (stream.accessUnits.size() * 2 + 4) / 5);
}

TEST(UserData, TimestampsHoldTheirClockAndGiveTheLatency)
{
    using namespace std::chrono;
    struct Case
    {
        const char* name;
        VideoParamsClock clock;
        gint64 expected, tolerance;
    };
    const auto utc = duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
    const auto monotonic = duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
    const gint64 minute = 60 * gint64{GST_SECOND};
    const TestStream& stream = StreamOf("avc-baseline");
    for (const Case& test : {Case{"utc", VideoParamsClockUtc, utc, minute},
                             Case{"monotonic", VideoParamsClockMonotonic, monotonic, minute},
                             Case{"running-time", VideoParamsClockRunningTime, -3, 0},
                             Case{"reference", VideoParamsClockReference, 12345, 0}}) {
        SCOPED_TRACE(test.name);
        CElementHarness harness(std::string("vpuserdatainsert timestamp=") + test.name +
                                    " ! vpuserdataextract reference-clock=pipeline",
                                stream.Caps());
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        segment.start = 10;
        gst_harness_push_event(harness.Get(), gst_event_new_segment(&segment));
        Buffer buffer = NewBuffer(stream.accessUnits[0], 7);
        GstCaps* const reference = gst_caps_new_empty_simple("timestamp/x-ntp");
        gst_buffer_add_reference_timestamp_meta(buffer.get(), reference, 12345, GST_CLOCK_TIME_NONE);
        gst_caps_unref(reference);
        gst_harness_set_time(harness.Get(), 20000);
        harness.Pass(std::move(buffer));

        const auto messages = harness.Messages();
        ASSERT_EQ(messages.size(), 1u);
        const GstStructure* const report = gst_message_get_structure(messages[0].get());
        gint64 timestamp = 0, latency = -1;
        EXPECT_STREQ(gst_structure_get_string(report, "clock"), test.name);
        EXPECT_TRUE(gst_structure_get_int64(report, "timestamp", &timestamp));
        EXPECT_NEAR(static_cast<double>(timestamp), static_cast<double>(test.expected),
                    static_cast<double>(test.tolerance));
        EXPECT_TRUE(gst_structure_get_int64(report, "latency", &latency));
        const bool isTestClock =
            test.clock == VideoParamsClockRunningTime || test.clock == VideoParamsClockReference;
        EXPECT_TRUE(isTestClock ? latency == 20000 - test.expected : latency >= 0 && latency < minute)
            << latency;
        const Structure stats = harness.Stats("vpuserdataextract");
        for (const char* field :
             {"latency-last", "latency-min", "latency-mean", "latency-p99", "latency-max"}) {
            gint64 value = -1;
            EXPECT_TRUE(gst_structure_get_int64(stats.get(), field, &value));
            EXPECT_EQ(value, latency) << field;
        }
    }
}

}  // namespace gsttest
