// Streams that no encoder makes. Whatever they are, the handle takes up a sound stream afterwards.

#include "support/Analysis.h"
#include "support/AvcStream.h"
#include "support/HevcStream.h"
#include "support/PageBytes.h"

#include <functional>
#include <gtest/gtest.h>

namespace videoparams::test {

namespace {

// A unit whose syntax can be written with one of its ue(v) replaced.
struct Syntax
{
    std::function<void(BitWriter&)> write;
    std::function<Bytes(const Bytes& rbsp)> unit;
};

struct Codec
{
    VideoCodecType type;
    std::vector<Syntax> units;

    Bytes Stream(size_t hostileUnit = SIZE_MAX, size_t ue = 0, uint32_t value = 0) const
    {
        Bytes stream;
        for (size_t i = 0; i < units.size(); ++i) {
            BitWriter writer;
            if (i == hostileUnit)
                writer.ReplaceUe(ue, value);
            units[i].write(writer);
            stream += units[i].unit(writer.Written());
        }
        return stream;
    }
};

Codec Avc()
{
    static const AvcSps sps = {.profile_idc = 100,
                               .scalingLists = std::vector<std::vector<int32_t>>(8, {1, -9}),
                               .pic_order_cnt_type = 1,
                               .offset_for_ref_frame = {3, 4},
                               .cropping = Window{},
                               .vui = AvcVui{.description = {.chroma_sample_loc_type = 1}}};
    static const AvcPps pps = {.bottom_field_pic_order_in_frame_present_flag = 1};
    return {VideoCodecAVC,
            {{[](BitWriter& w) { sps.WriteTo(w); }, [](const Bytes& rbsp) { return AvcUnit(7, rbsp); }},
             {[](BitWriter& w) { pps.WriteTo(w); }, [](const Bytes& rbsp) { return AvcUnit(8, rbsp); }},
             {[](BitWriter& w) { AvcSlice{.nal_unit_type = 5}.WriteTo(w, sps, pps); },
              [](const Bytes& rbsp) { return AvcUnit(5, rbsp); }}}};
}

Codec Hevc()
{
    static const HevcVps vps = {.vps_num_layer_sets_minus1 = 1, .timing = Timing{}};
    static const HevcSps sps = {.conformanceWindow = Window{},
                                .scalingLists = HevcScalingLists::Predicted,
                                .pcm = true,
                                .refPicSets = {{1, 1}, {.predicted = "ud-"}},
                                .lt_ref_pic_poc_lsb_sps = {1, 2},
                                .vui = HevcVui{.defaultDisplayWindow = Window{}}};
    return {VideoCodecHEVC,
            {{[](BitWriter& w) { vps.WriteTo(w); }, [](const Bytes& rbsp) { return HevcUnit(32, rbsp); }},
             {[](BitWriter& w) { sps.WriteTo(w); }, [](const Bytes& rbsp) { return HevcUnit(33, rbsp); }},
             {[](BitWriter& w) { w.U(1, 1).TrailingBits(); },
              [](const Bytes& rbsp) { return HevcUnit(19, rbsp); }}}};
}

void ExpectSoundStream(Analysis& host, const Bytes& stream, const std::string& after)
{
    host.Flush();
    host.Feed(stream);
    host.Flush();
    ASSERT_FALSE(host.Reports().empty()) << after;
    EXPECT_EQ(host.Reports().back().bytes, stream) << after;
    EXPECT_TRUE(host.Reports().back().info.sequenceInfoValid) << after;
}

}  // namespace

// The huge ones often enough that a loop which runs on would not be over in time.
TEST(HostileStream, AnyValueOfAnyElementIsSurvived)
{
    for (const Codec& codec : {Avc(), Hevc()}) {
        for (size_t unit = 0; unit < codec.units.size(); ++unit) {
            BitWriter counted;
            codec.units[unit].write(counted);
            for (size_t ue = 0; ue < counted.UeCount(); ++ue) {
                for (const uint32_t value :
                     {UINT32_MAX - 1, 0x7FFFFFFFu, 256u, 255u, 65u, 64u, 32u, 31u, 29u, 28u, 27u, 12u, 4u}) {
                    const PageBytes stream = AtPageEnd(codec.Stream(unit, ue, value));
                    Analysis host(codec.type);
                    for (unsigned times = 0; times < (value > 256 ? 100 : 1); ++times)
                        EXPECT_EQ(host.Feed(stream.data(), stream.size()), 0);
                    ExpectSoundStream(host, codec.Stream(),
                                      std::to_string(ue) + " of unit " + std::to_string(unit));
                }
            }
        }
    }
}

// Sums as well: 2^32 - 2 pictures and 3 more would be 1, and what follows would be taken for a VUI.
TEST(HostileStream, SumsOfCountsDoNotWrap)
{
    const HevcSps sps = {.refPicSets = {{0, 3}}};
    size_t ueCount = 1;
    for (size_t ue = 0; ue < ueCount; ++ue) {
        BitWriter writer;
        writer.ReplaceUe(ue, UINT32_MAX - 1);
        sps.WriteTo(writer);
        ueCount = writer.UeCount();
        Analysis host(VideoCodecHEVC);
        host.Feed(HevcUnit(33, writer.Written()));
        host.Flush();
        ASSERT_EQ(host.Reports().size(), 1u);
        EXPECT_EQ(host.Reports()[0].info.video_format, 0u) << ue;
    }
}

TEST(HostileStream, AStreamCutAnywhereIsSurvived)
{
    for (const Codec& codec : {Avc(), Hevc()}) {
        const Bytes whole = codec.Stream();
        for (size_t kept = 5; kept < whole.size(); ++kept) {
            const PageBytes stream = AtPageEnd(whole, kept);
            Analysis host(codec.type);
            EXPECT_EQ(host.Feed(stream.data(), stream.size()), 0);
            host.Flush();
            ASSERT_EQ(host.Reports().size(), 1u) << kept;
            EXPECT_EQ(host.Reports()[0].bytes,
                      Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(kept)));
            ExpectSoundStream(host, whole, std::to_string(kept) + " bytes");
        }
    }
}

TEST(HostileStream, AnyPatternIsSurvived)
{
    const struct
    {
        Bytes front;
        Bytes repeated;
        int64_t result;
    } patterns[] = {{{}, {0}, -1},
                    {{}, {0xFF}, -1},
                    {{}, {0, 0, 3}, -1},
                    {{}, {0, 0, 1}, 0},
                    {{}, {0, 0, 0, 1}, 0},
                    {{}, {0, 0, 1, 0x41}, 0},
                    {{}, {0, 0, 1, 0x67, 0}, 0},
                    {{}, {0, 0, 1, 0x42, 1}, 0},
                    {{}, {0, 0, 1, 0x40, 1, 0xFF}, 0},
                    {{0, 0, 1, 0x67}, {0}, 0},
                    {{0, 0, 1, 0x65}, {0}, 0},
                    {{0, 0, 1, 0x42, 1}, {0}, 0},
                    {{0, 0, 1, 0x06}, {0, 0, 3}, 0},
                    {{0, 0, 1, 0x4E, 1}, {0}, 0},
                    {{0, 0, 1, 0x06}, {0xFF}, 0}};
    for (const Codec& codec : {Avc(), Hevc()}) {
        for (const auto& [front, repeated, result] : patterns) {
            const PageBytes stream = AtPageEnd(front + Repeat(repeated, 200000));
            const std::string name = Hex(front) + "and " + Hex(repeated);
            Analysis host(codec.type);
            EXPECT_EQ(host.Feed(stream.data(), stream.size()), result) << name;
            ExpectSoundStream(host, codec.Stream(), name);

            void* editor = nullptr;
            const unsigned char* output = nullptr;
            uint32_t size = 0;
            ASSERT_EQ(UserDataCreate(&editor, codec.type), 0);
            EXPECT_LE(AddUserData(editor, stream.data(), stream.size(), nullptr, 0, &output, &size), 0);
            EXPECT_EQ(GetUserData(editor, stream.data(), stream.size(), &output, &size), result) << name;
            EXPECT_EQ(RemoveUserData(editor, stream.data(), stream.size(), &output, &size), result) << name;
            const Bytes sound = codec.Stream();
            EXPECT_EQ(RemoveUserData(editor, sound.data(), Size(sound), &output, &size), 0);
            EXPECT_EQ(CopyOf(output, size), sound) << name;
            UserDataRelease(editor);
        }
    }
}

}  // namespace videoparams::test
