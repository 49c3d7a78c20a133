// What every element does with caps, events and queries.

#include "Support.h"

#include <gtest/gtest.h>

namespace gsttest {

namespace {

const char* const elementNames[] = {"vpuserdatainsert text=take", "vpuserdataextract remove=true", "vpcheck"};

std::vector<std::string> EventsOf(GstHarness* harness)
{
    std::vector<std::string> names;
    while (GstEvent* const event = gst_harness_try_pull_event(harness)) {
        names.emplace_back(GST_EVENT_TYPE_NAME(event));
        gst_event_unref(event);
    }
    return names;
}

std::string ErrorText(CElementHarness& harness)
{
    const auto messages = harness.Messages(GST_MESSAGE_ERROR);
    if (messages.empty())
        return "";
    GError* error = nullptr;
    gst_message_parse_error(messages[0].get(), &error, nullptr);
    const std::string text = error->message;
    g_error_free(error);
    return text;
}

}  // namespace

TEST(Behaviour, CapsThatNeedAParserAreRefusedWithItsName)
{
    struct Case
    {
        const char* caps;
        const char* parser;
    };
    for (const char* element : elementNames) {
        for (const Case& test : {Case{"video/x-h264, stream-format=avc, alignment=au", "h264parse"},
                                 Case{"video/x-h264, stream-format=avc3, alignment=au", "h264parse"},
                                 Case{"video/x-h264, stream-format=byte-stream, alignment=nal", "h264parse"},
                                 Case{"video/x-h264", "h264parse"},
                                 Case{"video/x-h265, stream-format=hvc1, alignment=au", "h265parse"},
                                 Case{"video/x-h265, stream-format=hev1, alignment=au", "h265parse"}}) {
            SCOPED_TRACE(std::string(element) + " after " + test.caps);
            CElementHarness harness(element, test.caps);
            gst_harness_push(harness.Get(), NewBuffer({0, 0, 0, 1, 9, 16}).release());
            const std::string text = ErrorText(harness);
            EXPECT_NE(text.find(test.parser), std::string::npos) << text;
            EXPECT_EQ(gst_harness_buffers_in_queue(harness.Get()), 0u);
        }
    }
}

TEST(Behaviour, AnElementThatCanSendByteStreamIsOfferedNothingElse)
{
    for (const char* element : elementNames) {
        CElementHarness harness(element, StreamOf("avc-aud").Caps());
        GstCaps* const filter =
            gst_caps_from_string("video/x-h264, stream-format={avc, byte-stream}, alignment={au, nal}");
        GstCaps* const caps = gst_pad_peer_query_caps(harness.Get()->srcpad, filter);
        GstCaps* const expected = gst_caps_from_string(StreamOf("avc-aud").Caps());
        EXPECT_TRUE(gst_caps_is_equal(caps, expected));
        for (GstCaps* const used : {filter, caps, expected})
            gst_caps_unref(used);
    }
}

TEST(Behaviour, TheCodecMayChangeInMidStream)
{
    CElementHarness harness("vpuserdatainsert text=take ! vpcheck ! vpuserdataextract",
                            StreamOf("avc-aud").Caps());
    for (int round = 0; round < 3; ++round) {
        for (const char* name : {"avc-aud", "hevc-aud", "hevc-1080"}) {
            const TestStream& stream = StreamOf(name);
            gst_harness_set_src_caps_str(harness.Get(), stream.Caps());
            for (const Bytes& accessUnit : stream.accessUnits)
                EXPECT_EQ(MetasOf(harness.Pass(accessUnit).get(), LibraryIdentifier).size(), 1u);
        }
    }
    EXPECT_EQ(CountIn(harness.Stats("vpcheck").get(), "gaps"), 0u);
}

TEST(Behaviour, EventsPassInOrderAndEndOfStreamNeedsNoData)
{
    for (const char* element : elementNames) {
        SCOPED_TRACE(element);
        CElementHarness harness(element, StreamOf("avc-aud").Caps());
        const std::vector<std::string> begin = {"stream-start", "caps", "segment"};
        EXPECT_EQ(EventsOf(harness.Get()), begin);
        gst_harness_push_event(harness.Get(), gst_event_new_gap(0, GST_SECOND));
        gst_harness_push_event(
            harness.Get(), gst_event_new_custom(GST_EVENT_CUSTOM_DOWNSTREAM, gst_structure_new_empty("own")));
        gst_harness_push_event(harness.Get(), gst_event_new_tag(gst_tag_list_new_empty()));
        gst_harness_push_event(harness.Get(), gst_event_new_eos());
        EXPECT_EQ(EventsOf(harness.Get()),
                  (std::vector<std::string>{"gap", "custom-downstream", "tag", "eos"}));
    }
}

TEST(Behaviour, LatencyPassesUntouched)
{
    for (const char* element : elementNames) {
        CElementHarness harness(element, StreamOf("avc-aud").Caps());
        gst_harness_set_upstream_latency(harness.Get(), 123 * GST_MSECOND);
        EXPECT_EQ(gst_harness_query_latency(harness.Get()), 123 * GST_MSECOND);
    }
}

TEST(Behaviour, BuffersBeforeCapsAreNotNegotiated)
{
    for (const char* element : elementNames) {
        GstHarness* const harness = gst_harness_new_parse(element);
        gst_harness_play(harness);
        gst_harness_push_event(harness, gst_event_new_stream_start("id"));
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_harness_push_event(harness, gst_event_new_segment(&segment));
        EXPECT_EQ(gst_harness_push(harness, NewBuffer({0, 0, 0, 1, 9, 16}).release()),
                  GST_FLOW_NOT_NEGOTIATED);
        gst_harness_teardown(harness);
    }
}

}  // namespace gsttest
