#include "bitstream/ByteScan/ByteScan.h"
#include "bitstream/ByteScan/Kernels.h"
#include "support/PageBytes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace videoparams::test {

using namespace streams;

namespace {

constexpr size_t MaxLength = 300;
constexpr size_t MaxRoom = 700;

const unsigned char* LoopStartCodePrefix(const unsigned char* begin, const unsigned char* end)
{
    for (const unsigned char* at = begin; end - at >= 3; ++at) {
        if (at[0] == 0 && at[1] == 0 && at[2] == 1)
            return at;
    }
    return end;
}

const unsigned char* LoopZeroPair(const unsigned char* begin, const unsigned char* end)
{
    for (const unsigned char* at = begin; end - at >= 2; ++at) {
        if (at[0] == 0 && at[1] == 0)
            return at;
    }
    return end;
}

// Every kernel that this machine can run, and the choice among them.
std::vector<ByteScanKernel> Kernels()
{
    std::vector<ByteScanKernel> kernels = {
        {"chosen", nullptr, FindStartCodePrefix, FindZeroPair, CopyToStartCodePrefix}};
    for (const ByteScanKernel* const* kernel = byteScanKernels; *kernel != nullptr; ++kernel) {
        if ((*kernel)->supported())
            kernels.push_back(**kernel);
    }
    return kernels;
}

class ByteScan : public testing::Test
{
protected:
    // One comparison an input, so that millions of them are quick.
    void ExpectAgreement(const unsigned char* begin, const unsigned char* end) const
    {
        const unsigned char* const prefix = LoopStartCodePrefix(begin, end);
        const unsigned char* const pair = LoopZeroPair(begin, end);
        for (const ByteScanKernel& kernel : kernels) {
            if (kernel.findStartCodePrefix(begin, end) != prefix || kernel.findZeroPair(begin, end) != pair ||
                !CopiesUpTo(prefix, kernel, begin, end))
                FAIL() << kernel.name << Hex(Bytes(begin, end));
        }
    }

    // Into room of exactly the size, so that its alignment changes with it.
    bool CopiesUpTo(const unsigned char* prefix, const ByteScanKernel& kernel, const unsigned char* begin,
                    const unsigned char* end) const
    {
        unsigned char* const destination = room.data() + room.size() - (end - begin);
        std::fill(destination, room.data() + room.size(), static_cast<unsigned char>(0xA5));
        return kernel.copyToStartCodePrefix(begin, end, destination) == prefix &&
               std::equal(begin, prefix, destination);
    }

    const PageBytes room = AtPageEnd(Bytes(MaxRoom));
    const std::vector<ByteScanKernel> kernels = Kernels();
};

}  // namespace

TEST_F(ByteScan, PlainKernelEndsTheListAndNothingIsFoundInNothing)
{
    ASSERT_GE(kernels.size(), 2u);
    EXPECT_STREQ(kernels.back().name, "plain");
    ExpectAgreement(nullptr, nullptr);
}

TEST_F(ByteScan, FindsAMatchAtEveryPlaceOfEveryLengthBetweenPagesThatMayNotBeTouched)
{
    const Bytes fillings[] = {{0xFF}, {0x00, 0xFF}, {0x01}, {0x00, 0x01}};
    const Bytes patterns[] = {{0, 0, 1}, {0, 0}};
    const PageBytes atBegin = AtPageBegin(Bytes(MaxLength));
    const PageBytes atEnd = AtPageEnd(Bytes(MaxLength));
    for (const Bytes& filling : fillings) {
        const Bytes filled = Repeat(filling, MaxLength);
        for (size_t length = 0; length <= MaxLength; ++length) {
            for (unsigned char* const begin : {atBegin.data(), atEnd.data() + MaxLength - length}) {
                std::copy_n(filled.begin(), length, begin);
                ExpectAgreement(begin, begin + length);
                for (const Bytes& pattern : patterns) {
                    for (size_t at = 0; at + pattern.size() <= length; ++at) {
                        std::copy(pattern.begin(), pattern.end(), begin + at);
                        ExpectAgreement(begin, begin + length);
                        std::copy_n(filled.begin() + static_cast<ptrdiff_t>(at), pattern.size(), begin + at);
                    }
                }
            }
            if (HasFatalFailure())
                return;
        }
    }
}

// Long enough for the widest step of a kernel, at every alignment, with zeros from rare to frequent.
TEST_F(ByteScan, AgreesOnRandomBytesAtEveryAlignment)
{
    std::minstd_rand random(1);
    Bytes bytes(MaxRoom);
    for (unsigned round = 0; round < 2000 && !HasFatalFailure(); ++round) {
        const unsigned zerosIn = 2 + round % 60;
        for (unsigned char& byte : bytes)
            byte = random() % zerosIn < 2 ? static_cast<unsigned char>(random() % 3 / 2) : 0x80;
        const size_t offset = round % 64;
        const size_t length = random() % (bytes.size() - offset);
        ExpectAgreement(bytes.data() + offset, bytes.data() + offset + length);
    }
}

}  // namespace videoparams::test
