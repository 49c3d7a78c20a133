// Which messages vpuserdatainsert gives a picture.

#include "Support.h"

#include <gst/video/video-sei.h>
#include <gtest/gtest.h>
#include <videoparams/timestamp.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <numeric>
#include <thread>

namespace gsttest {

TEST(Insert, PushedMessagesOfManyThreadsAllArriveWithTheNextPicture)
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

TEST(Insert, MessagesPushedWhilePicturesPassArriveOnceAndInOrder)
{
    constexpr guint8 ThreadCount = 4, MessageCount = 200;
    const TestStream& stream = StreamOf("avc-aud");
    CElementHarness harness("vpuserdatainsert max-queued=10 ! vpuserdataextract", stream.Caps());
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (guint8 t = 0; t < ThreadCount; ++t)
        threads.emplace_back([&, t] {
            for (guint8 i = 0; i < MessageCount; ++i) {
                while (!Push(harness, {t, i}) && !isOver)
                    std::this_thread::yield();
            }
        });
    std::vector<Bytes> received(ThreadCount);
    size_t count = 0;
    for (size_t picture = 0; count < ThreadCount * MessageCount && picture < 1000000; ++picture) {
        const Buffer passed = harness.Pass(stream.accessUnits[picture % stream.accessUnits.size()]);
        for (const Bytes& message : MetasOf(passed.get(), LibraryIdentifier)) {
            received[message[0]].push_back(message[1]);
            ++count;
        }
        harness.Messages();
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    Bytes inOrder(MessageCount);
    std::iota(inOrder.begin(), inOrder.end(), guint8{0});
    EXPECT_EQ(received, std::vector<Bytes>(ThreadCount, inOrder));
}

TEST(Insert, MetasOfTheLibraryAreCarriedOnce)
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

TEST(Insert, IntervalAndKeySelectPictures)
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

TEST(Insert, TimestampsHoldTheirClockAndGiveTheLatency)
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
