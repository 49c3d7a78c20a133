// Streams that no encoder makes. Whatever they are, the handle takes up a correct stream afterwards.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/PageBytes.h"

#include <functional>

namespace videoparams::test {

namespace {

// A unit whose syntax can be written with one of its ue(v) replaced.
struct Syntax
{
    uint32_t nal_unit_type;
    std::function<void(BitWriter&)> write;
};

const std::vector<Syntax>& SyntaxOf(const Codec& codec)
{
    static const AvcSps avcSps = {.profile_idc = 100,
                                  .scalingLists = std::vector<std::vector<int32_t>>(8, {1, -9}),
                                  .pic_order_cnt_type = 1,
                                  .offset_for_ref_frame = {3, 4},
                                  .cropping = Window{},
                                  .vui = AvcVui{.description = {.chroma_sample_loc_type = 1}}};
    static const AvcPps pps = {.bottom_field_pic_order_in_frame_present_flag = 1};
    static const HevcVps vps = {.vps_num_layer_sets_minus1 = 1, .timing = Timing{}};
    static const HevcSps hevcSps = {.conformanceWindow = Window{},
                                    .scalingLists = HevcScalingLists::Predicted,
                                    .pcm = true,
                                    .refPicSets = {{1, 1}, {.predicted = "ud-"}},
                                    .lt_ref_pic_poc_lsb_sps = {1, 2},
                                    .vui = HevcVui{.defaultDisplayWindow = Window{}}};
    static const std::vector<Syntax> avcUnits = {
        {7, [](BitWriter& writer) { avcSps.WriteTo(writer); }},
        {8, [](BitWriter& writer) { pps.WriteTo(writer); }},
        {5, [](BitWriter& writer) { AvcSlice{.nal_unit_type = 5}.WriteTo(writer, avcSps, pps); }},
    };
    static const std::vector<Syntax> hevcUnits = {
        {32, [](BitWriter& writer) { vps.WriteTo(writer); }},
        {33, [](BitWriter& writer) { hevcSps.WriteTo(writer); }},
        {19, [](BitWriter& writer) { writer.U(1, 1).TrailingBits(); }},
    };
    return codec.IsAvc() ? avcUnits : hevcUnits;
}

class HostileStream : public CodecTest
{
protected:
    const std::vector<Syntax>& syntax = SyntaxOf(codec);

    Bytes Stream(size_t hostileUnit = SIZE_MAX, size_t ue = 0, uint32_t value = 0) const
    {
        Bytes stream;
        for (size_t i = 0; i < syntax.size(); ++i) {
            BitWriter writer;
            if (i == hostileUnit)
                writer.ReplaceUe(ue, value);
            syntax[i].write(writer);
            stream += codec.unit(syntax[i].nal_unit_type, writer.Written());
        }
        return stream;
    }

    void ExpectCorrectStream(Analysis& host, const std::string& after) const
    {
        host.Flush();
        host.Feed(Stream());
        host.Flush();
        ASSERT_FALSE(host.Reports().empty()) << after;
        EXPECT_EQ(host.Reports().back().bytes, Stream()) << after;
        EXPECT_TRUE(host.Reports().back().info.sequenceInfoValid) << after;
    }
};

INSTANTIATE_TEST_SUITE_P(, HostileStream, bothCodecs, nameOfCodec);

}  // namespace

// The huge ones often enough that a loop that runs on would not be over in time.
TEST_P(HostileStream, AnyValueOfAnyElementIsSurvived)
{
    for (size_t unit = 0; unit < syntax.size(); ++unit) {
        BitWriter counted;
        syntax[unit].write(counted);
        for (size_t ue = 0; ue < counted.UeCount(); ++ue) {
            for (const uint32_t value :
                 {UINT32_MAX - 1, 0x7FFFFFFFu, 256u, 255u, 65u, 64u, 32u, 31u, 29u, 28u, 27u, 12u, 4u}) {
                const PageBytes stream = AtPageEnd(Stream(unit, ue, value));
                Analysis host(codec.type);
                for (unsigned times = 0; times < (value > 256 ? 100 : 1); ++times)
                    EXPECT_EQ(host.Feed(stream.data(), stream.size()), 0);
                ExpectCorrectStream(host, std::to_string(ue) + " of unit " + std::to_string(unit));
            }
        }
    }
}

TEST_P(HostileStream, AStreamCutAnywhereIsSurvived)
{
    const Bytes whole = Stream();
    for (size_t kept = 5; kept < whole.size(); ++kept) {
        const PageBytes stream = AtPageEnd(whole, kept);
        Analysis host(codec.type);
        EXPECT_EQ(host.Feed(stream.data(), stream.size()), 0);
        host.Flush();
        ASSERT_EQ(host.Reports().size(), 1u) << kept;
        EXPECT_EQ(host.Reports()[0].bytes,
                  Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(kept)));
        ExpectCorrectStream(host, std::to_string(kept) + " bytes");
    }
}

TEST_P(HostileStream, AnyPatternIsSurvived)
{
    const struct
    {
        Bytes front;
        Bytes repeated;
        int64_t result;
    } patterns[] = {
        {{}, {0}, -1},
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
        {{0, 0, 1, 0x06}, {0xFF}, 0},
    };
    for (const auto& [front, repeated, result] : patterns) {
        const PageBytes stream = AtPageEnd(front + Repeat(repeated, 200000));
        const std::string name = Hex(front) + "and " + Hex(repeated);
        Analysis host(codec.type);
        EXPECT_EQ(host.Feed(stream.data(), stream.size()), result) << name;
        ExpectCorrectStream(host, name);

        void* editor = nullptr;
        const unsigned char* output = nullptr;
        unsigned int size = 0;
        ASSERT_EQ(UserDataCreate(&editor, codec.type), 0);
        EXPECT_LE(AddUserData(editor, stream.data(), stream.size(), nullptr, 0, &output, &size), 0);
        EXPECT_EQ(GetUserData(editor, stream.data(), stream.size(), &output, &size), result) << name;
        EXPECT_EQ(RemoveUserData(editor, stream.data(), stream.size(), &output, &size), result) << name;
        const Bytes correct = Stream();
        EXPECT_EQ(RemoveUserData(editor, correct.data(), Size(correct), &output, &size), 0);
        EXPECT_EQ(CopyOf(output, size), correct) << name;
        UserDataRelease(editor);
    }
}

}  // namespace videoparams::test
