// vpcheck on the test streams: whole, and with pictures left out.

#include "Support.h"

#include <gtest/gtest.h>
#include <streams/AvcStream.h>

#include <algorithm>
#include <map>
#include <numeric>

namespace gsttest {

namespace {

using Reports = std::map<std::string, std::vector<Structure>>;

// Passes the pictures in this order, and returns the messages of each kind.
Reports Check(const TestStream& stream, const std::vector<size_t>& order)
{
    CElementHarness harness("vpcheck", stream.Caps());
    for (const size_t picture : order)
        harness.Pass(stream.accessUnits[picture], picture * GST_SECOND);
    Reports reports;
    for (const Message& message : harness.Messages()) {
        const GstStructure* const report = gst_message_get_structure(message.get());
        reports[gst_structure_get_name(report)].emplace_back(gst_structure_copy(report));
    }
    return reports;
}

std::vector<size_t> AllPictures(const TestStream& stream)
{
    std::vector<size_t> order(stream.accessUnits.size());
    std::iota(order.begin(), order.end(), 0);
    return order;
}

Reports CheckWithout(const TestStream& stream, size_t leftOut)
{
    std::vector<size_t> order = AllPictures(stream);
    order.erase(order.begin() + static_cast<std::ptrdiff_t>(leftOut));
    return Check(stream, order);
}

// nal_ref_idc of the first slice (H.264), a nal_unit_type of sub-layer reference pictures (H.265). The
// streams have one slice in each picture, which is the last unit.
bool IsReference(const TestStream& stream, size_t picture)
{
    const Bytes& bytes = stream.accessUnits[picture];
    const Bytes startCode = {0, 0, 1};
    const guint8 header =
        std::find_end(bytes.begin(), bytes.end(), startCode.begin(), startCode.end())[startCode.size()];
    return stream.codec == VideoCodecHEVC ? header >> 1 & 1 : (header & 0x60) != 0;
}

// Whether the streams below show that the picture is missing: it is a reference, and the next picture belongs
// to the same sequence.
bool LeavesGap(const TestStream& stream, size_t picture)
{
    return IsReference(stream, picture) && !stream.keyFrames.contains(picture + 1) &&
           picture + 1 < stream.accessUnits.size();
}

}  // namespace

TEST(Check, SoundStreamsHaveNoGapsAndTheirKeyFramesAreReported)
{
    for (const TestStream& stream : TestStreams()) {
        SCOPED_TRACE(stream.name);
        auto reports = Check(stream, AllPictures(stream));
        EXPECT_EQ(reports["vpcheck-missing-references"].size(), 0u);
        EXPECT_EQ(reports["vpcheck-missing-parameter-sets"].size(), 0u);
        EXPECT_EQ(reports["vpcheck-format"].size(), stream.name.ends_with("size-change") ? 2u : 0u);
        std::set<size_t> keyFrames;
        size_t last = 0;
        for (const Structure& report : reports["vpcheck-key-frame"]) {
            const size_t picture = CountIn(report.get(), "picture");
            EXPECT_EQ(CountIn(report.get(), "size"), stream.accessUnits[picture].size());
            if (!keyFrames.empty()) {
                size_t groupSize = 0;
                for (size_t i = last; i < picture; ++i)
                    groupSize += stream.accessUnits[i].size();
                EXPECT_EQ(CountIn(report.get(), "distance"), picture - last);
                EXPECT_EQ(CountIn(report.get(), "duration"), (picture - last) * GST_SECOND);
                EXPECT_EQ(CountIn(report.get(), "group-size"), groupSize);
            }
            keyFrames.insert(picture);
            last = picture;
        }
        EXPECT_EQ(keyFrames, stream.keyFrames);
    }
}

TEST(Check, AMissingReferencePictureIsReportedOnceAndAnotherOneIsNot)
{
    size_t gapCount = 0, otherCount = 0;
    for (const char* name : {"avc-bframes", "avc-open-gop", "avc-hrd", "hevc-bframes", "hevc-hrd",
                             "hevc-radl", "hevc-headers-once"}) {
        const TestStream& stream = StreamOf(name);
        for (size_t picture = 1; picture < stream.accessUnits.size(); ++picture) {
            if (stream.keyFrames.contains(picture))
                continue;
            const bool isGap = LeavesGap(stream, picture);
            ++(isGap ? gapCount : otherCount);
            EXPECT_EQ(CheckWithout(stream, picture)["vpcheck-missing-references"].size(), isGap ? 1u : 0u)
                << name << " without picture " << picture;
        }
    }
    EXPECT_GT(gapCount, 50u);
    EXPECT_GT(otherCount, 50u);
}

// A picture that is no reference, moved after the next reference picture, repeats the frame_num of that one.
TEST(Check, ANonReferencePictureThatRepeatsFrameNumIsNoGap)
{
    size_t count = 0;
    for (const char* name : {"avc-bframes", "avc-hrd"}) {
        const TestStream& stream = StreamOf(name);
        for (size_t picture = 1; picture + 1 < stream.accessUnits.size(); ++picture) {
            if (IsReference(stream, picture) || !IsReference(stream, picture + 1) ||
                stream.keyFrames.contains(picture + 1))
                continue;
            std::vector<size_t> order = AllPictures(stream);
            std::swap(order[picture], order[picture + 1]);
            EXPECT_EQ(Check(stream, order)["vpcheck-missing-references"].size(), 0u)
                << name << " " << picture;
            ++count;
        }
    }
    EXPECT_GT(count, 5u);
}

// frame_num counts from 0 again after memory_management_control_operation 5, H.264 7.4.3
TEST(Check, TheReferenceResetOfH264IsNoGapButALossAfterItIs)
{
    using namespace videoparams::streams;
    TestStream stream{"reset", VideoCodecAVC, {AvcSps().Write() + AvcPps().Write()}, {0}, {}, {}};
    const auto add = [&](uint32_t frame_num, uint32_t operation) {
        stream.accessUnits.push_back(
            AvcSlice{.frame_num = frame_num, .memory_management_control_operation = operation}.Write());
    };
    stream.accessUnits[0] += AvcSlice{.nal_unit_type = 5}.Write();
    add(1, 0);
    add(2, 5);
    add(1, 0);
    add(2, 0);
    EXPECT_EQ(Check(stream, {0, 1, 2, 3, 4})["vpcheck-missing-references"].size(), 0u);
    EXPECT_EQ(Check(stream, {0, 1, 2, 4})["vpcheck-missing-references"].size(), 1u);
    EXPECT_EQ(Check(stream, {0, 1, 3, 4})["vpcheck-missing-references"].size(), 1u);
}

TEST(Check, UnknownParameterSetsAreReportedOnce)
{
    for (const char* name : {"avc-headers-once", "hevc-headers-once"}) {
        auto reports = CheckWithout(StreamOf(name), 0);
        EXPECT_EQ(reports["vpcheck-missing-parameter-sets"].size(), 1u) << name;
    }
}

TEST(Check, AChangeOfSizeAndRateIsReportedWithOldAndNew)
{
    for (const char* name : {"avc-size-change", "hevc-size-change"}) {
        auto reports = Check(StreamOf(name), AllPictures(StreamOf(name)));
        ASSERT_EQ(reports["vpcheck-format"].size(), 2u) << name;
        const Structure expected(gst_structure_from_string(
            "vpcheck-format, pts=(guint64)8000000000, picture=(guint64)8, width=(uint)160, height=(uint)112, "
            "framerate=30/1, previous-width=(uint)128, previous-height=(uint)96, previous-framerate=25/1",
            nullptr));
        EXPECT_TRUE(gst_structure_is_equal(reports["vpcheck-format"][0].get(), expected.get())) << name;
    }
}

TEST(Check, FlagsAreFixedWhereTheyAreWrong)
{
    const TestStream& stream = StreamOf("hevc-open-gop");
    CElementHarness harness("vpcheck fix-flags=true", stream.Caps());
    for (size_t i = 0; i < stream.accessUnits.size(); ++i) {
        Buffer buffer = NewBuffer(stream.accessUnits[i]);
        if (i % 3 != 0)
            GST_BUFFER_FLAG_SET(buffer.get(), GST_BUFFER_FLAG_DELTA_UNIT);
        const Buffer fixed = harness.Pass(std::move(buffer));
        EXPECT_EQ(!GST_BUFFER_FLAG_IS_SET(fixed.get(), GST_BUFFER_FLAG_DELTA_UNIT),
                  stream.keyFrames.contains(i));
    }
}

TEST(Check, AFlushIsNoGap)
{
    for (const char* name : {"avc-bframes", "avc-intra-refresh", "hevc-bframes"}) {
        const TestStream& stream = StreamOf(name);
        CElementHarness harness("vpcheck", stream.Caps());
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        for (size_t i = 0; i < stream.accessUnits.size(); i += i == 3 ? 9 : 1) {
            if (i == 12) {
                gst_harness_push_event(harness.Get(), gst_event_new_flush_start());
                gst_harness_push_event(harness.Get(), gst_event_new_flush_stop(TRUE));
                gst_harness_push_event(harness.Get(), gst_event_new_segment(&segment));
            }
            harness.Pass(stream.accessUnits[i]);
        }
        EXPECT_EQ(CountIn(harness.Stats("vpcheck").get(), "gaps"), 0u) << name;
    }
}

}  // namespace gsttest
