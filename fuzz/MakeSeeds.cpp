// Writes seeds for the fuzzers: hand-built corner cases.
//
//   fuzz_seeds FOLDER    then fuzz it, and merge the inputs that add coverage into corpus/<target>/;
//                        all targets replay the corner cases, corpus/Corners/

#include "streams/AvcStream.h"
#include "streams/HevcStream.h"
#include "streams/SeiMessages.h"

#include <filesystem>
#include <fstream>
#include <map>

namespace {

using namespace videoparams::streams;

std::map<std::string, Bytes> Corners()
{
    const Bytes sets = AvcSps{.profile_idc = 66}.Write() + AvcPps{}.Write();
    const Bytes key = Short(AvcSlice{.nal_unit_type = 5}.Write());
    const Bytes slice = Short(AvcSlice{.slice_type = 5, .frame_num = 1}.Write());
    const Bytes hevcSets =
        HevcVps{.timing = Timing{}}.Write() + HevcSps{.vui = HevcVui{}}.Write() + HevcPps();
    const Bytes hevcSlice = Short(HevcSlice{.nal_unit_type = 19}.Write());
    const AvcSps longOffsets = {.pic_order_cnt_type = 1,
                                .offset_for_ref_frame = std::vector<int32_t>(200, -7)};
    Bytes oneByteUnits;
    for (unsigned header = 0; header < 128; ++header)
        oneByteUnits += {0, 0, 0, 1, static_cast<unsigned char>(header)};
    const Bytes manyMessages = SeiMessage(0, {0xAA}) + UserDataMessage(Bytes(300)) + SeiMessage(1, {0, 0});
    return {
        {"empty-units", Repeat({0, 0, 1}, 20) + key},
        {"four-bytes", {0, 0, 1, 9}},
        {"tail-start-code", key + Bytes{0, 0, 1, 0xAA}},
        {"zeros", Bytes(400)},
        {"emulation", key + Repeat({0, 0, 3}, 50)},
        {"sets-and-slices", sets + key + Repeat(slice, 3)},
        {"hevc-sets-and-slices", hevcSets + hevcSlice + hevcSlice},
        {"delimiters", Repeat(AvcDelimiter() + key, 3)},
        {"one-byte-units", oneByteUnits + key},
        {"forbidden", sets + Bytes{0, 0, 1, 0xE5, 0, 0, 0} + key},
        {"golomb-zeros", AvcUnit(7, Bytes{0x42, 0, 0x1E} + Bytes(20) + Bytes{0xFF})},
        {"golomb-largest", Repeat(AvcUnit(7, {0x42, 0, 0x1E, 0x80, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}), 2)},
        {"many-offsets", longOffsets.Write() + AvcPps{}.Write() + AvcSlice{}.Write(longOffsets)},
        {"avc-message", AvcSei(UserDataMessage({'a', 'b', 'c'})) + key},
        {"avc-messages", AvcSei(manyMessages) + Bytes{0} + key},
        {"avc-overrun", AvcUnit(6, Bytes{5, 0x20} + userDataIdentifier + Bytes(40, 0xFF), 0) + key},
        {"hevc-message", HevcSei(UserDataMessage({0, 0, 3, 0, 0, 1})) + hevcSlice},
        {"hevc-bare-sei", Bytes{0, 0, 1, 0x4E, 0x80} + hevcSlice},
        {"hevc-one-byte", Bytes{0, 0, 1, 0x26} + hevcSlice + hevcSlice},
    };
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 2)
        return 1;
    const std::filesystem::path folder = arguments[1];
    std::filesystem::create_directories(folder);
    for (const auto& [name, stream] : Corners()) {
        for (const unsigned codec : {0u, 1u}) {
            const auto firstChoice = static_cast<unsigned char>(codec);
            const Bytes input = Bytes{11, firstChoice, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10} + stream;
            std::ofstream file(folder / (name + "-" + std::to_string(codec)), std::ios::binary);
            file.write(reinterpret_cast<const char*>(input.data()),
                       static_cast<std::streamsize>(input.size()));
        }
    }
    return 0;
}
