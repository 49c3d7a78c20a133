// Which slice headers start a picture, as the reports show.

#include "support/Analysis.h"
#include "support/Codec.h"
#include "support/PageBytes.h"

namespace videoparams::test {

namespace {

// Whether the second slice starts a picture. Parameter sets come first.
bool StartsPicture(const Bytes& sets, const Bytes& first, const Bytes& second)
{
    const PageBytes stream = AtPageEnd(sets + first + second);
    Analysis host(VideoCodecAVC);
    EXPECT_EQ(host.Feed(stream.data(), stream.size()), 0);
    host.Flush();
    EXPECT_FALSE(host.Reports().empty());
    return host.Reports().size() == 2;
}

struct Layout
{
    const char* name;
    AvcSps sps;
    AvcPps pps;
    AvcSlice slice;
};

// Every branch of the syntax.
const Layout layouts[] = {
    {"frame", {}, {}, {.first_mb_in_slice = 99, .slice_type = 0, .frame_num = 6, .pic_order_cnt_lsb = 9}},
    {"no reference", {}, {}, {.nal_ref_idc = 0, .frame_num = 6, .pic_order_cnt_lsb = 9}},
    {"IDR", {}, {}, {.nal_unit_type = 5, .nal_ref_idc = 3, .idr_pic_id = 65534, .pic_order_cnt_lsb = 4}},
    {"colour planes",
     {.profile_idc = 244, .chroma_format_idc = 3, .separate_colour_plane_flag = 1},
     {},
     {.colour_plane_id = 2, .frame_num = 5, .pic_order_cnt_lsb = 6}},
    {"longest fields",
     {.log2_max_frame_num_minus4 = 12, .log2_max_pic_order_cnt_lsb_minus4 = 12},
     {255, 0, 1},
     {.pic_parameter_set_id = 255,
      .frame_num = 65534,
      .pic_order_cnt_lsb = 65534,
      .delta_pic_order_cnt_bottom = -3}},
    {"frame of a field sequence, partition A",
     {.frame_mbs_only_flag = 0},
     {0, 0, 1},
     {.nal_unit_type = 2, .frame_num = 2, .pic_order_cnt_lsb = 4, .delta_pic_order_cnt_bottom = 1}},
    {"field",
     {.frame_mbs_only_flag = 0},
     {0, 0, 1},
     {.frame_num = 2, .field_pic_flag = 1, .bottom_field_flag = 1, .pic_order_cnt_lsb = 5}},
    {"order type 1", {.pic_order_cnt_type = 1}, {}, {.frame_num = 3, .delta_pic_order_cnt = {-9, 0}}},
    {"order type 1, both deltas",
     {.pic_order_cnt_type = 1},
     {0, 0, 1},
     {.frame_num = 3, .delta_pic_order_cnt = {0, INT32_MAX - 1}}},
    {"order type 1, field",
     {.pic_order_cnt_type = 1, .frame_mbs_only_flag = 0},
     {0, 0, 1},
     {.frame_num = 3, .field_pic_flag = 1, .delta_pic_order_cnt = {7, 0}}},
    {"order type 1, deltas always zero",
     {.pic_order_cnt_type = 1, .delta_pic_order_always_zero_flag = 1},
     {0, 0, 1},
     {.frame_num = 1}},
    {"order type 2", {.pic_order_cnt_type = 2}, {0, 0, 1}, {.frame_num = 1}},
    // Longer than any valid header: the reading goes on after the bytes that are converted at first.
    {"long frame_num", {.log2_max_frame_num_minus4 = 1000}, {}, {.frame_num = 76, .pic_order_cnt_lsb = 3}},
    {"long frame_num, both",
     {.log2_max_frame_num_minus4 = 600},
     {0, 0, 1},
     {.frame_num = 2, .pic_order_cnt_lsb = 3, .delta_pic_order_cnt_bottom = 1, .sliceData = Bytes(300)}},
};

// Changes of one element. A slice of the same bytes, up to the last element that is read, is of the same
// picture.
const std::pair<const char*, void (*)(AvcSlice&)> changes[] = {
    {"frame_num", [](AvcSlice& slice) { slice.frame_num ^= 1; }},
    {"high bit of frame_num", [](AvcSlice& slice) { slice.frame_num ^= 8; }},
    {"idr_pic_id", [](AvcSlice& slice) { slice.idr_pic_id ^= 1; }},
    {"pic_order_cnt_lsb", [](AvcSlice& slice) { slice.pic_order_cnt_lsb ^= 1; }},
    {"high bit of pic_order_cnt_lsb", [](AvcSlice& slice) { slice.pic_order_cnt_lsb ^= 8; }},
    {"delta_pic_order_cnt_bottom", [](AvcSlice& slice) { ++slice.delta_pic_order_cnt_bottom; }},
    {"delta_pic_order_cnt[0]", [](AvcSlice& slice) { ++slice.delta_pic_order_cnt[0]; }},
    {"delta_pic_order_cnt[1]", [](AvcSlice& slice) { ++slice.delta_pic_order_cnt[1]; }},
    {"bottom_field_flag", [](AvcSlice& slice) { slice.bottom_field_flag ^= 1; }},
    {"slice data",
     [](AvcSlice& slice) {
         slice.sliceData = {0xFF, 0xFF, 0xFF};
     }},
};

Bytes BitsRead(const Layout& layout, const AvcSlice& slice)
{
    BitWriter whole;
    slice.WriteTo(whole, layout.sps, layout.pps);
    BitWriter read;
    for (size_t bit = 0; bit < whole.BitsTo("read"); ++bit)
        read.U(1, whole.Written()[bit / 8] >> (7 - bit % 8));
    return read.Written();
}

}  // namespace

TEST(AvcSliceHeader, StartsAPictureIfAnElementThatIsCodedDiffers)
{
    for (const Layout& layout : layouts) {
        const Bytes sets = layout.sps.Write() + layout.pps.Write();
        const Bytes slice = layout.slice.Write(layout.sps, layout.pps);
        for (const auto& [what, change] : changes) {
            AvcSlice changed = layout.slice;
            change(changed);
            const bool differs = BitsRead(layout, changed) != BitsRead(layout, layout.slice);
            EXPECT_EQ(StartsPicture(sets, slice, changed.Write(layout.sps, layout.pps)), differs)
                << layout.name << ", " << what;
        }
        AvcSlice next = layout.slice;
        next.first_mb_in_slice = 40;
        next.slice_type = 9;
        next.colour_plane_id = 1;
        EXPECT_FALSE(StartsPicture(sets, slice, next.Write(layout.sps, layout.pps))) << layout.name;
    }
}

TEST(AvcSliceHeader, StartsAPictureIfItsKindDiffers)
{
    const AvcSps frames = {};
    const AvcSps fields = {.frame_mbs_only_flag = 0};
    const struct
    {
        const char* what;
        AvcSps sps;
        AvcSlice before;
        AvcSlice now;
        bool starts;
    } cases[] = {
        {"IDR", frames, {}, {.nal_unit_type = 5}, true},
        {"no IDR", frames, {.nal_unit_type = 5}, {}, true},
        {"partition A", frames, {}, {.nal_unit_type = 2}, false},
        {"reference", frames, {.nal_ref_idc = 2}, {.nal_ref_idc = 0}, true},
        {"no reference", frames, {.nal_ref_idc = 0}, {.nal_ref_idc = 1}, true},
        {"other nal_ref_idc", frames, {.nal_ref_idc = 3}, {.nal_ref_idc = 1}, false},
        {"field", fields, {}, {.field_pic_flag = 1}, true},
        {"second field", fields, {.field_pic_flag = 1}, {.field_pic_flag = 1, .bottom_field_flag = 1}, true},
        {"same field", fields, {.field_pic_flag = 1}, {.field_pic_flag = 1}, false},
        {"parameter set", frames, {}, {.pic_parameter_set_id = 1}, true},
    };
    const Bytes pps = AvcPps{}.Write() + AvcPps{.pic_parameter_set_id = 1}.Write();
    for (const auto& c : cases)
        EXPECT_EQ(StartsPicture(c.sps.Write() + pps, c.before.Write(c.sps), c.now.Write(c.sps)), c.starts)
            << c.what;
}

// After the end there are zeros.
TEST(AvcSliceHeader, IsReadAsIfZerosFollowedWhereverItEnds)
{
    for (const Layout& layout : layouts) {
        const Bytes sets = layout.sps.Write() + layout.pps.Write();
        const Bytes slice = layout.slice.Write(layout.sps, layout.pps);
        BitWriter whole;
        layout.slice.WriteTo(whole, layout.sps, layout.pps);
        for (size_t kept = 1; kept <= whole.Written().size(); ++kept) {
            const Bytes cut(whole.Written().begin(), whole.Written().begin() + static_cast<ptrdiff_t>(kept));
            const auto unit = [&layout](const Bytes& rbsp) {
                return AvcUnit(layout.slice.nal_unit_type, rbsp, layout.slice.nal_ref_idc);
            };
            const bool padded = StartsPicture(sets, slice, unit(cut + Bytes(300)));
            EXPECT_EQ(StartsPicture(sets, slice, unit(cut)), padded)
                << layout.name << ", " << kept << " bytes";
            // What follows belongs to another unit.
            EXPECT_EQ(StartsPicture(sets, slice, unit(cut) + AvcSei({0xFF, 0xFF})), padded)
                << layout.name << ", " << kept << " bytes and another unit";
        }
    }
}

TEST(AvcSliceHeader, IsComparedWithTheLastOneWhoseParameterSetsWereKnown)
{
    const Bytes sets =
        AvcSps{.log2_max_frame_num_minus4 = 2}.Write() + AvcPps{}.Write() + AvcPps{1, 31, 0}.Write();
    const Bytes slice = AvcSlice{.frame_num = 5}.Write({.log2_max_frame_num_minus4 = 2});
    const Bytes unknown = AvcSlice{.slice_type = 1, .pic_parameter_set_id = 1, .frame_num = 9}.Write();
    EXPECT_FALSE(StartsPicture(sets, unknown + slice + unknown, slice));
}

TEST(AvcSliceHeader, AFrameNumOfMoreBitsThanAnyUnitHasIsZero)
{
    const Bytes sets = AvcSps{.log2_max_frame_num_minus4 = UINT32_MAX - 1}.Write() + AvcPps{}.Write();
    const Bytes ones = AvcUnit(1, Bytes(200, 0xFF));
    EXPECT_FALSE(StartsPicture(sets, ones, AvcUnit(1, Bytes{0xFF} + Bytes(100, 0x5A))));
}

// The latest parameter set of an identifier counts, and those of others stay.
TEST(AvcSliceHeader, IsReadWithTheLatestParameterSets)
{
    const AvcSps shorter = {.seq_parameter_set_id = 4, .log2_max_frame_num_minus4 = 3};
    const AvcSps longer = {.seq_parameter_set_id = 4, .log2_max_frame_num_minus4 = 7};
    const AvcSps other = {.seq_parameter_set_id = 5, .pic_order_cnt_type = 2};
    const AvcPps last = {255, 5, 1};
    const AvcPps first = {0, 4, 1};
    const Bytes sets =
        shorter.Write() + other.Write() + AvcPps{0, 5, 0}.Write() + last.Write() + first.Write();
    const auto expectRead = [&sets](const AvcSps& sps, const AvcPps& pps, const Bytes& moreSets) {
        AvcSlice slice = {
            .pic_parameter_set_id = pps.pic_parameter_set_id, .frame_num = 1, .pic_order_cnt_lsb = 2};
        AvcSlice next = slice;
        next.frame_num ^= 1;
        EXPECT_FALSE(StartsPicture(sets + moreSets, slice.Write(sps, pps), slice.Write(sps, pps)));
        EXPECT_TRUE(StartsPicture(sets + moreSets, slice.Write(sps, pps), next.Write(sps, pps)));
        AvcSlice data = slice;
        data.sliceData = {0xFF, 0xFF};
        EXPECT_FALSE(StartsPicture(sets + moreSets, slice.Write(sps, pps), data.Write(sps, pps)));
    };
    expectRead(shorter, first, {});
    expectRead(longer, first, longer.Write());
    expectRead(other, last, longer.Write());
}

}  // namespace videoparams::test
