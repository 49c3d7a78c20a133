// What vpuserdatainsert and vpuserdataextract do with the bytes of buffers.

#include "Support.h"

#include <gtest/gtest.h>

#include <random>

namespace gsttest {

namespace {

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

}  // namespace gsttest
