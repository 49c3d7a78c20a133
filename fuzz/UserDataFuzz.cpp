// User data: what goes in comes out, what is removed leaves the rest alone, and no call depends on the ones
// before it.

#include "FuzzInput.h"

#include <algorithm>

namespace {

struct Edited
{
    int64_t result;
    Bytes bytes;
    bool isNull;
};

bool operator==(const Edited& a, const Edited& b)
{
    return a.result == b.result && a.bytes == b.bytes && a.isNull == b.isNull;
}

Edited Collect(int64_t result, const unsigned char* output, unsigned int size)
{
    REQUIRE(result == 0 || result == -1);
    REQUIRE(output != nullptr || size == 0);
    return {result, output != nullptr ? Bytes(output, output + size) : Bytes(), output == nullptr};
}

Edited Add(void* handle, const Bytes& stream, const Bytes& userData)
{
    const CHeapCopy copy(stream);
    const CHeapCopy data(userData);
    const unsigned char* output = nullptr;
    unsigned int size = 0;
    const int64_t result =
        AddUserData(handle, copy.Data(), copy.Size(), data.Data(), data.Size(), &output, &size);
    return Collect(result, output, size);
}

Edited Get(void* handle, const Bytes& stream)
{
    const CHeapCopy copy(stream);
    const unsigned char* output = nullptr;
    unsigned int size = 0;
    const int64_t result = GetUserData(handle, copy.Data(), copy.Size(), &output, &size);
    return Collect(result, output, size);
}

Edited Remove(void* handle, const Bytes& stream)
{
    const CHeapCopy copy(stream);
    const unsigned char* output = nullptr;
    unsigned int size = 0;
    const int64_t result = RemoveUserData(handle, copy.Data(), copy.Size(), &output, &size);
    return Collect(result, output, size);
}

// The input's own bytes, more or less of them, or zeros.
Bytes ChooseUserData(CFuzzInput& input)
{
    const uint32_t length = input.Choose(256) * (1 + input.Choose(4));
    Bytes userData(length, 0);
    if (input.Choose(4) != 0)
        std::copy_n(input.Stream().begin(), std::min<size_t>(length, input.Stream().size()),
                    userData.begin());
    return userData;
}

// A stream that removal has been over holds no messages of ours and SEI units of one form only.
void CheckRoundTrip(void* handle, const Bytes& stream, const Bytes& userData)
{
    const Bytes plain = Remove(handle, stream).bytes;
    if (Join(CutIndependentUnits(plain)) != plain)
        return;  // without the SEI units between them, zeros and start codes have joined
    const Edited added = Add(handle, plain, userData);
    if (added.result != 0)
        return;
    const Edited got = Get(handle, added.bytes);
    REQUIRE(got.result == 0 && !got.isNull && got.bytes == userData);
    REQUIRE(Remove(handle, added.bytes).bytes == plain);
    REQUIRE(Get(handle, plain).isNull);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput input(data, size);
    const VideoCodecType codec = input.ChooseCodec();
    const Bytes userData = ChooseUserData(input);
    const Bytes& stream = input.Stream();

    // Any bytes: results by the rules, and the same from a used handle as from a fresh one.
    const CUserDataHandle used(codec);
    const Edited added = Add(used.handle, stream, userData);
    const Edited got = Get(used.handle, stream);
    const Edited removed = Remove(used.handle, stream);
    CheckRoundTrip(used.handle, Join(CutIndependentUnits(stream)), userData);
    REQUIRE(Remove(used.handle, stream) == removed);
    REQUIRE(Get(used.handle, stream) == got);
    const CUserDataHandle fresh(codec);
    REQUIRE(Add(fresh.handle, stream, userData) == added);
    return 0;
}
