// Where user data goes in a stream, and what of the stream is copied.

#include "support/UserDataSuite.h"

namespace videoparams::test {

INSTANTIATE_TEST_SUITE_P(, UserData, bothCodecs, nameOfCodec);

TEST_P(UserData, IsPlacedOnceInTheFirstSeiOrBeforeTheFirstSlice)
{
    const Bytes end = {0x80};
    const Bytes plain = SeiWith(one + end);
    const Bytes edited = SeiWith(one + own + end);
    const Bytes added = SeiWith(own + end);
    const struct
    {
        const char* name;
        Bytes input;
        Bytes output;
    } placed[] = {
        {"before the slice", sets + slice, sets + added + slice},
        {"before the first slice", sets + Short(slice) + slice, sets + added + Short(slice) + slice},
        {"in the SEI unit", sets + plain + slice, sets + edited + slice},
        {"in a short one", sets + Short(plain) + slice, sets + Short(edited) + slice},
        {"in the first of two", plain + plain + slice, edited + plain + slice},
        {"zeros after the trailing byte go", sets + SeiWith(one + Bytes{0x80, 0}) + slice,
         sets + edited + slice},
        {"other bytes go", sets + SeiWith(one + Bytes{0x80, 0x12}) + slice, sets + edited + slice},
        {"SEI after the slice", slice + plain, added + slice + plain},
        {"of a later one, too", slice + SeiWith(one + Bytes{0x80, 0}), added + slice + plain},
        {"SEI alone", plain, edited},
        {"a start code alone stays", bare + slice, bare + added + slice},
        {"and is no slice", bare + plain + slice, bare + edited + slice},
        {"the unit's own header stays", OtherSei(one + end) + slice, OtherSei(one + own + end) + slice},
        {"two access units", plain + slice + plain + slice, edited + slice + plain + slice},
    };
    for (const auto& row : placed) {
        const Answer answer = Add(row.input);
        EXPECT_EQ(answer.result, 0) << row.name;
        EXPECT_EQ(Hex(answer.Read()), Hex(row.output)) << row.name;
    }
    for (const Bytes& noPlace : {sets, bare + sets, Bytes{}, Bytes{1, 2, 3, 4, 5}, Bytes{0, 0, 1, 6}}) {
        const Answer answer = Add(noPlace);
        EXPECT_EQ(answer.result, -1) << Hex(noPlace);
        EXPECT_EQ(Hex(answer.Read()), Hex(noPlace.size() > 5 ? noPlace : Bytes{})) << Hex(noPlace);
    }
    const Bytes lateTrailing = {0, 0, 0, 1, static_cast<unsigned char>(codec.IsAvc() ? 0x06 : 0x4E), 0x80};
    const Bytes headerAlone = codec.IsAvc() ? SeiWith({}) : lateTrailing;
    for (const Bytes& noTrailingByte :
         {sets + SeiWith(one) + slice, slice + SeiWith(one), headerAlone + slice}) {
        EXPECT_EQ(Add(noTrailingByte).result, -1) << Hex(noTrailingByte);
        EXPECT_TRUE(Add(noTrailingByte).IsUntouched()) << Hex(noTrailingByte);
    }
}

TEST_P(UserData, RemovalRewritesSeiUnitsAndCopiesTheRest)
{
    const Bytes end = {0x80};
    const Bytes plain = SeiWith(one + end);
    const Bytes both = SeiWith(one + own + end);
    const Bytes ours = SeiWith(own + end);
    const struct
    {
        const char* name;
        Bytes input;
        Bytes output;
    } cases[] = {
        {"a unit of ours", sets + ours + slice, sets + slice},
        {"a message of ours", sets + both + slice, sets + plain + slice},
        {"short start codes", sets + Short(both) + Short(slice), sets + plain + Short(slice)},
        {"several", codec.delimiter + ours + both + slice + ours + slice,
         codec.delimiter + plain + slice + slice},
        {"nothing of ours", sets + Short(plain) + slice, sets + plain + slice},
        {"bytes after the trailing byte", SeiWith(one + Bytes{0x80, 0x12}) + slice, plain + slice},
        {"zeros there", slice + SeiWith(one + Bytes{0x80, 0}), slice + plain},
        {"start codes alone", bare + slice + bare + bare + slice, slice + slice},
        {"a header alone", sets + SeiWith({}) + slice, sets + slice},
        {"no trailing byte", SeiWith(one) + slice, plain + slice},
        {"another header", OtherSei(one + end) + OtherSei(one + own + end) + slice, plain + plain + slice},
        {"nothing", {}, {}},
    };
    for (const auto& row : cases) {
        const Answer answer = Remove(row.input);
        EXPECT_EQ(answer.result, 0) << row.name;
        EXPECT_NE(answer.output, nullptr) << row.name;
        EXPECT_EQ(Hex(answer.Read()), Hex(row.output)) << row.name;
    }
}

// A new SEI unit goes before the first unit of coded picture data, also after a prefix unit (type 14).
TEST_P(UserData, EveryOtherUnitTypeIsCopiedAndNotSearched)
{
    const uint32_t seiType = codec.IsAvc() ? 6 : 39;
    for (uint32_t type = 0; type < codec.typeCount; ++type) {
        if (type == seiType)
            continue;
        const Bytes unit = codec.unit(type, own + Bytes{0x80, 0x11});
        const Answer added = Add(sets + unit);
        const Bytes place = codec.IsVcl(type) ? SeiWith(own) + Bytes{0x80} : Bytes{};
        EXPECT_EQ(added.result, codec.IsVcl(type) ? 0 : -1) << type;
        EXPECT_EQ(Hex(added.Read()), Hex(sets + place + unit)) << type;
        EXPECT_TRUE(Get(unit).IsNone()) << type;
        EXPECT_EQ(Hex(Remove(unit).Read()), Hex(unit)) << type;
    }
    const Bytes prefix = AvcUnit(14, {0x40, 0x80, 0x07});
    if (codec.IsAvc()) {
        EXPECT_EQ(Add(sets + prefix + slice).Read(), sets + prefix + SeiWith(own) + Bytes{0x80} + slice);
    }
}

TEST_P(UserData, ResultsMayBePassedOnButNotBackToTheirOwnFunction)
{
    const Bytes much(70000, 0);
    const Bytes stream = sets + SeiWith(one + Bytes{0x80}) + slice;
    const Answer added = Add(stream);
    EXPECT_TRUE(Add(added.output, added.size, much.data(), 3).IsUntouched());
    const Answer removed = Remove(added.output, added.size);
    EXPECT_EQ(Hex(removed.Read()), Hex(stream));
    EXPECT_TRUE(Remove(removed.output + 4, removed.size - 4).IsUntouched());
    EXPECT_EQ(Hex(added.Read()), Hex(sets + SeiWith(one + own + Bytes{0x80}) + slice))
        << "removal leaves it alone";
    EXPECT_TRUE(Get(removed.output, removed.size).IsNone());
    const Answer again = Add(removed.output, removed.size, much.data(), Size(much));
    EXPECT_TRUE(Get(again.output, again.size).Read() == much);
}

TEST_P(UserData, ReportsWhatItCouldNotDo)
{
    for (const Bytes& stream : {Bytes{1, 2, 3, 4, 5}, Bytes{0, 0, 1, 6}, Bytes{}}) {
        const int64_t scanned = stream.size() >= 5 ? -1 : 0;
        const Answer removed = Remove(stream);
        EXPECT_TRUE(removed.result == scanned && removed.output != nullptr && removed.size == 0);
        EXPECT_EQ(Get(stream).result, scanned);
        EXPECT_TRUE(Get(stream).output == nullptr && Get(stream).size == 0);
    }
    EXPECT_TRUE(Add(nullptr, 100, nullptr, 0).result == -1 && Add(nullptr, 100, nullptr, 0).size == 0);
    EXPECT_TRUE(Get(nullptr, 100).IsNone());
    EXPECT_EQ(Remove(nullptr, 100).result, 0);

    // Results or blocks that would not fit 32 bits; nothing is read.
    EXPECT_EQ(Add(slice.data(), Size(slice), nullptr, 0).result, 0);
    EXPECT_TRUE(Add(slice.data(), UINT32_MAX, nullptr, 0).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), UINT32_MAX - 3000000, nullptr, 0).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), Size(slice), slice.data(), UINT32_MAX).IsUntouched());
    EXPECT_TRUE(Add(slice.data(), Size(slice), slice.data(), uint32_t{1} << 31).IsUntouched());
    EXPECT_EQ(Hex(Add(sets + slice).Read()), Hex(sets + SeiWith(own) + Bytes{0x80} + slice)) << "it works on";
}

}  // namespace videoparams::test
