// The elements between GStreamer's encoders, parsers, muxers and sinks.

#include "Pipeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <random>

namespace gsttest {

namespace {

const std::string chain =
    "vpuserdatainsert name=insert ! vpuserdataextract name=extract ! vpcheck name=check ";

// Pushes its number as a message for each picture.
void NumberPictures(CPipeline& pipeline)
{
    GstElement* const insert = pipeline.Find("insert");
    pipeline.Watch("insert", "sink", [insert, number = guint32{0}](GstBuffer*) mutable {
        GBytes* const bytes = g_bytes_new(&number, sizeof number);
        gboolean isTaken = FALSE;
        g_signal_emit_by_name(insert, "push", bytes, &isTaken);
        g_bytes_unref(bytes);
        ++number;
    });
}

using Numbers = std::vector<guint32>;

// Takes the numbers that came with the pictures, in decoding order; other messages are timestamps.
void TakeNumber(GstElement*, GBytes* bytes, guint64, gint clock, gint64, gpointer numbers)
{
    if (clock >= 0)
        return;
    guint32 number = 0;
    ASSERT_EQ(g_bytes_get_size(bytes), sizeof number);
    std::memcpy(&number, g_bytes_get_data(bytes, nullptr), sizeof number);
    static_cast<Numbers*>(numbers)->push_back(number);
}

std::string Checksum(GstBuffer* buffer)
{
    const Bytes bytes = BytesOf(buffer);
    gchar* const sum = g_compute_checksum_for_data(G_CHECKSUM_SHA1, bytes.data(), bytes.size());
    const std::string text = sum;
    g_free(sum);
    return text;
}

}  // namespace

// The encoders do not give the same bytes in each run, so both ways begin at one encoder.
TEST(Pipeline, EachPictureGetsItsOwnMessageAndDecodesToTheSameFrame)
{
    struct Case
    {
        std::string encoder, decoder, remove;
    };
    const std::string x264 = "x264enc key-int-max=25 ! video/x-h264,profile=main ! h264parse";
    const std::string x264Baseline = "x264enc ! video/x-h264,profile=constrained-baseline ! h264parse";
    const std::string x265 = "x265enc key-int-max=25 ! h265parse";
    for (const auto& [encoder, decoder, remove] :
         {Case{x264, "avdec_h264", "false"}, Case{x264Baseline, "openh264dec", "false"},
          Case{x265, "avdec_h265", "false"}, Case{x264, "avdec_h264", "true"},
          Case{x265, "avdec_h265", "true"}}) {
        SCOPED_TRACE(encoder + " ! " + decoder + ", remove=" + remove);
        CPipeline pipeline(
            "videotestsrc num-buffers=70 pattern=ball ! video/x-raw,format=I420,width=160,height=120 ! " +
            encoder + " ! tee name=tee ! queue ! " + decoder + " ! fakesink name=plain tee. ! queue ! " +
            "vpuserdatainsert name=insert timestamp=utc ! vpuserdataextract name=extract remove=" + remove +
            " ! vpcheck ! " + decoder + " ! fakesink name=marked");
        Numbers numbers;
        std::vector<std::string> plain, marked;
        NumberPictures(pipeline);
        g_signal_connect(pipeline.Find("extract"), "user-data", G_CALLBACK(TakeNumber), &numbers);
        pipeline.Watch("plain", "sink", [&](GstBuffer* buffer) { plain.push_back(Checksum(buffer)); });
        pipeline.Watch("marked", "sink", [&](GstBuffer* buffer) { marked.push_back(Checksum(buffer)); });
        pipeline.RunToEnd();

        EXPECT_GE(plain.size(), 60u);
        EXPECT_TRUE(marked == plain);
        ASSERT_EQ(numbers.size(), 70u);
        for (guint32 i = 0; i < numbers.size(); ++i)
            EXPECT_EQ(numbers[i], i);
    }
}

namespace {

// A live source, RTP and UDP on the loopback interface, and a receiver. The ends are pipelines of their own.
struct RtpCase
{
    const char* encoder;
    const char* parser;
    const char* payloader;
    const char* depayloader;
    const char* encodingName;
};

const RtpCase rtpCases[] = {
    {"x264enc threads=1 tune=zerolatency speed-preset=ultrafast sliced-threads=false key-int-max=50 "
     "bitrate=4000",
     "h264parse", "rtph264pay", "rtph264depay", "H264"},
    {"x265enc tune=zerolatency speed-preset=ultrafast key-int-max=50 bitrate=4000 "
     "option-string=pools=none:frame-threads=1",
     "h265parse", "rtph265pay", "rtph265depay", "H265"},
};

std::string ReceiverLine(const RtpCase& test)
{
    return std::string("udpsrc name=source address=127.0.0.1 port=0 buffer-size=4000000 "
                       "caps=application/x-rtp,media=video,clock-rate=90000,payload=96,encoding-name=") +
           test.encodingName + " ! rtpjitterbuffer latency=20 ! " + test.depayloader + " ! " + test.parser +
           " ! vpuserdataextract name=extract ! vpcheck name=check ! fakesink sync=false async=false";
}

std::string SenderLine(const RtpCase& test, gint port, const std::string& loss)
{
    return std::string("videotestsrc is-live=true num-buffers=300 pattern=snow ! "
                       "video/x-raw,format=I420,width=160,height=120,framerate=150/1 ! ") +
           test.encoder + " ! " + test.parser + " ! vpuserdatainsert name=insert timestamp=monotonic ! " +
           test.payloader + " config-interval=-1 ! " + loss +
           "udpsink sync=false host=127.0.0.1 port=" + std::to_string(port);
}

void Transmit(const RtpCase& test, const std::string& loss, CPipeline& receiver,
              const std::function<void(CPipeline&)>& prepare)
{
    receiver.SetState(GST_STATE_PLAYING);
    ASSERT_TRUE(receiver.AwaitState());
    gint port = 0;
    g_object_get(receiver.Find("source"), "port", &port, nullptr);
    CPipeline sender(SenderLine(test, port, loss));
    prepare(sender);
    sender.RunToEnd();
    // The last packets are on their way.
    guint64 seen = 0, before = G_MAXUINT64;
    while (seen != before) {
        before = seen;
        g_usleep(200 * 1000);
        seen = CountIn(receiver.Stats("check").get(), "pictures");
    }
}

}  // namespace

TEST(Pipeline, LatencyThroughRtpIsWhatPadProbesMeasure)
{
    for (const RtpCase& test : rtpCases) {
        SCOPED_TRACE(test.encodingName);
        std::mutex mutex;
        std::vector<gint64> sent;    // µs, by number
        std::vector<gint64> probed;  // latency by the probes
        gint64 arrival = 0;          // of the picture whose messages come next

        CPipeline receiver(ReceiverLine(test));
        receiver.Watch("extract", "sink", [&](GstBuffer*) { arrival = g_get_monotonic_time(); });
        Numbers received;
        g_signal_connect(receiver.Find("extract"), "user-data", G_CALLBACK(TakeNumber), &received);
        receiver.Watch("extract", "src", [&](GstBuffer*) {
            const std::lock_guard lock(mutex);
            if (!received.empty() && received.back() < sent.size())
                probed.push_back(arrival - sent[received.back()]);
        });
        Transmit(test, "", receiver, [&](CPipeline& sender) {
            NumberPictures(sender);
            sender.Watch("insert", "src", [&](GstBuffer*) {
                const std::lock_guard lock(mutex);
                sent.push_back(g_get_monotonic_time());
            });
        });
        receiver.SetState(GST_STATE_NULL);

        ASSERT_GT(probed.size(), 250u);
        gint64 sum = 0, mean = 0;
        for (const gint64 latency : probed)
            sum += latency;
        ASSERT_TRUE(gst_structure_get_int64(receiver.Stats("extract").get(), "latency-mean", &mean));
        const double probedMean = static_cast<double>(sum) / static_cast<double>(probed.size()) / 1000;
        EXPECT_NEAR(static_cast<double>(mean) / GST_MSECOND, probedMean, 5) << "ms";
        EXPECT_GT(probedMean, 0.1);
    }
}

TEST(Pipeline, LostPacketsAreReportedAsGaps)
{
    for (const RtpCase& test : rtpCases) {
        SCOPED_TRACE(test.encodingName);
        CPipeline receiver(ReceiverLine(test));
        std::atomic<int> sentPackets = 0, lostPackets = 0;
        Transmit(test, "identity name=loss drop-probability=0.01 ! ", receiver, [&](CPipeline& sender) {
            sender.Watch("loss", "sink", [&](GstBuffer*) { ++sentPackets, ++lostPackets; });
            sender.Watch("loss", "src", [&](GstBuffer*) { --lostPackets; });
        });
        const Structure stats = receiver.Stats("check");
        const guint64 gaps = CountIn(stats.get(), "gaps");
        ASSERT_GT(lostPackets, 0) << "of " << sentPackets;
        EXPECT_GT(gaps, 0u) << lostPackets << " of " << sentPackets << " packets lost";
        EXPECT_LE(gaps, static_cast<guint64>(lostPackets));
    }
}

TEST(Pipeline, StandsFiveHundredChangesOfState)
{
    std::mt19937 random(1);
    const std::string source = std::string("multifilesrc loop=true location=") + TEST_STREAMS_DIR;
    for (const char* line : {"/avc-bframes.h264 ! h264parse ! ", "/hevc-bframes.h265 ! h265parse ! "}) {
        CPipeline pipeline(source + line + chain + " ! fakesink");
        g_object_set(pipeline.Find("insert"), "text", "take", nullptr);
        for (int change = 0; change < 250; ++change) {
            pipeline.SetState(static_cast<GstState>(GST_STATE_NULL + random() % 4));
            if (random() % 2 == 0) {
                ASSERT_TRUE(pipeline.AwaitState()) << change;
                g_usleep(random() % 2000);
            }
        }
        pipeline.SetState(GST_STATE_NULL);
        pipeline.SetState(GST_STATE_PAUSED);
        ASSERT_TRUE(pipeline.AwaitState());
        EXPECT_GT(CountIn(pipeline.Stats("extract").get(), "count"), 0u);
    }
}

TEST(Pipeline, FlushingSeeksCauseNoGaps)
{
    const std::string file =
        std::filesystem::temp_directory_path() / ("videoparams-seek-" + std::to_string(getpid()) + ".mkv");
    CPipeline("videotestsrc num-buffers=300 ! video/x-raw,width=64,height=64 ! x264enc key-int-max=20 ! "
              "h264parse ! "
              "matroskamux ! filesink location=" +
              file)
        .RunToEnd();
    CPipeline pipeline("filesrc location=" + file + " ! matroskademux ! h264parse ! " + chain +
                       " ! fakesink name=sink sync=true");
    g_object_set(pipeline.Find("insert"), "text", "take", nullptr);
    pipeline.SetState(GST_STATE_PLAYING);
    ASSERT_TRUE(pipeline.AwaitState());
    std::mt19937 random(1);
    constexpr guint64 SeekCount = 60;
    for (guint64 seek = 0; seek < SeekCount; ++seek) {
        EXPECT_TRUE(
            gst_element_seek_simple(pipeline.Get(), GST_FORMAT_TIME,
                                    static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT),
                                    static_cast<gint64>(random() % (9 * GST_SECOND))));
        g_usleep(random() % 20000);
    }
    g_object_set(pipeline.Find("sink"), "sync", FALSE, nullptr);
    pipeline.AwaitEnd();
    const Structure stats = pipeline.Stats("check");
    EXPECT_EQ(CountIn(stats.get(), "gaps"), 0u);
    // A flush may drop the picture that is between the two elements.
    const guint64 messages = CountIn(pipeline.Stats("extract").get(), "count");
    EXPECT_GE(messages, CountIn(stats.get(), "pictures"));
    EXPECT_LE(messages, CountIn(stats.get(), "pictures") + SeekCount);
    std::filesystem::remove(file);
}

}  // namespace gsttest
