// User data: what goes in comes out, what is removed leaves the rest alone, and no call depends on the ones
// before it.

#include "FuzzInput.h"

#include <algorithm>

namespace {

// What a call hands out. The output may be null, empty, or bytes.
struct Edited
{
    int64_t result;
    const unsigned char* output = nullptr;
    unsigned int size = 0;

    Bytes Read() const { return output != nullptr ? Bytes(output, output + size) : Bytes(); }
};

bool Same(const Edited& a, const Edited& b)
{
    return a.result == b.result && a.Read() == b.Read() && (a.output == nullptr) == (b.output == nullptr);
}

enum Operation
{
    Add,
    Get,
    Remove
};

Edited Call(Operation operation, void* handle, const unsigned char* data, unsigned int size,
            const Bytes& userData)
{
    const CHeapCopy bytes(userData);
    Edited edited{};
    if (operation == Add)
        edited.result =
            AddUserData(handle, data, size, bytes.Data(), bytes.Size(), &edited.output, &edited.size);
    else if (operation == Get)
        edited.result = GetUserData(handle, data, size, &edited.output, &edited.size);
    else
        edited.result = RemoveUserData(handle, data, size, &edited.output, &edited.size);
    REQUIRE(edited.result == 0 || edited.result == -1);
    REQUIRE(edited.output != nullptr || edited.size == 0);
    return edited;
}

Edited Call(Operation operation, void* handle, const Bytes& stream, const Bytes& userData = {})
{
    const CHeapCopy copy(stream);
    return Call(operation, handle, copy.Data(), copy.Size(), userData);
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
    const Bytes plain = Call(Remove, handle, stream).Read();
    if (Join(CutIndependentUnits(plain)) != plain)
        return;  // without the SEI units between them, zeros and start codes have joined
    const Edited added = Call(Add, handle, plain, userData);
    if (added.result != 0)
        return;
    const Bytes carrying = added.Read();
    const Edited got = Call(Get, handle, carrying);
    REQUIRE(got.result == 0 && got.output != nullptr && got.Read() == userData);
    REQUIRE(Call(Remove, handle, carrying).Read() == plain);
    REQUIRE(Call(Get, handle, plain).output == nullptr);
}

// Calls in the order of the input's choice, each on the stream or on what the last one handed out, where it
// lies. Whatever was before, each answers like the first call of a handle. GetUserData gives no stream, and
// what a function has handed out it does not take.
void CheckAnyOrder(void* handle, VideoCodecType codec, const Bytes& userData, CFuzzInput& input)
{
    const CHeapCopy stream(input.Stream());
    Edited last{0, stream.Data(), stream.Size()};
    Operation lastOperation = Get;
    for (int step = 0; step < 4; ++step) {
        const auto operation = static_cast<Operation>(input.Choose(3));
        if (input.Choose(2) == 0 || last.output == nullptr || operation == lastOperation) {
            last = {0, stream.Data(), stream.Size()};
            lastOperation = Get;
        }
        const CUserDataHandle fresh(codec);
        const Edited expected = Call(operation, fresh.handle, last.Read(), userData);
        last = Call(operation, handle, last.output, last.size, userData);
        REQUIRE(Same(last, expected));
        lastOperation = operation;
        if (operation == Get)
            last.output = nullptr;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CFuzzInput input(data, size);
    const VideoCodecType codec = input.ChooseCodec();
    const Bytes userData = ChooseUserData(input);
    const CUserDataHandle handle(codec);
    CheckRoundTrip(handle.handle, Join(CutIndependentUnits(input.Stream())), userData);
    CheckAnyOrder(handle.handle, codec, userData, input);
    return 0;
}
