// User data: what goes in comes out, removal leaves the rest alone, and no call depends on earlier ones.

#include "FuzzInput.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

enum Operation
{
    Add,
    Get,
    Remove
};

// What a call returns. The output may be null, empty, or bytes.
struct Edited
{
    int64_t result = 0;
    const unsigned char* output = nullptr;
    unsigned int size = 0;

    Bytes Read() const { return {output, size}; }
};

Edited Call(Operation operation, void* handle, Bytes stream, Bytes userData = {})
{
    Edited edited;
    const auto size = static_cast<uint32_t>(stream.size());
    if (operation == Add)
        edited.result = AddUserData(handle, stream.data(), size, userData.data(),
                                    static_cast<uint32_t>(userData.size()), &edited.output, &edited.size);
    else if (operation == Get)
        edited.result = GetUserData(handle, stream.data(), size, &edited.output, &edited.size);
    else
        edited.result = RemoveUserData(handle, stream.data(), size, &edited.output, &edited.size);
    REQUIRE(edited.result == 0 || edited.result == -1);
    REQUIRE(edited.output != nullptr || edited.size == 0);
    return edited;
}

// To make a handle takes a hundred times as long as to use it, so handles stay from input to input. An input
// that fails only after others is repeated with the fuzzer's -seed.
class CEditor
{
public:
    explicit CEditor(VideoCodecType codec) { REQUIRE(UserDataCreate(&handle, codec) == 0); }
    ~CEditor() { REQUIRE(UserDataRelease(handle) == 0); }
    CEditor(const CEditor&) = delete;
    CEditor& operator=(const CEditor&) = delete;

    operator void*() const { return handle; }

private:
    void* handle = nullptr;
};

// The stream's own bytes, more or fewer of them, or zeros.
Bytes ChooseUserData(CFuzzInput& input)
{
    static std::array<unsigned char, 256 * 4> zeros;
    const uint32_t length = input.Choose(256) * (1 + input.Choose(4));
    const bool takesZeros = input.Choose(4) == 0;
    return takesZeros ? Bytes(zeros).last(length)
                      : input.Stream().last(std::min<size_t>(length, input.Stream().size()));
}

// A stream that RemoveUserData has written holds no messages of ours, and SEI units of one form only.
void CheckRoundTrip(void* handle, Bytes stream, Bytes userData)
{
    static CRoom room;
    const Bytes removed = Call(Remove, handle, stream).Read();
    const Bytes plain{room.Put(removed), removed.size()};
    if (!Equal(CCutIndependentUnits(plain).Joined(), plain))
        return;  // without the SEI units between them, zeros and start codes have joined
    const Edited added = Call(Add, handle, plain, userData);
    if (added.result != 0)
        return;
    REQUIRE(Equal(Call(Remove, handle, added.Read()).Read(), plain));
    const Edited got = Call(Get, handle, added.Read());
    REQUIRE(got.result == 0 && got.output != nullptr && Equal(got.Read(), userData));
    REQUIRE(Call(Get, handle, plain).output == nullptr);
}

// The calls of one handle, in the order of the choices: each takes the stream, or what the last call returned
// from where it is. The other handle makes the same calls in reverse order. GetUserData returns no stream,
// and no function takes what it has returned itself.
void CheckAnyOrder(void* one, void* other, Bytes stream, Bytes userData, CFuzzInput& input)
{
    struct Step
    {
        Operation operation;
        std::vector<unsigned char> bytes;
        CDigest answer;
    };
    static std::array<Step, 4> steps;
    const auto digest = [](const Edited& edited) {
        return CDigest().AddValue(edited.result).AddValue(edited.output == nullptr).Add(edited.Read());
    };
    std::optional<Operation> last;
    Bytes bytes = stream;
    size_t count = 0;
    while (count < steps.size() && (count == 0 || input.HasChoices())) {
        Step& step = steps[count++];
        step.operation = static_cast<Operation>(input.Choose(3));
        if (input.Choose(2) == 0 || !last || last == Get || last == step.operation)
            bytes = stream;
        step.bytes.assign(bytes.begin(), bytes.end());
        const Edited edited = Call(step.operation, one, bytes, userData);
        step.answer = digest(edited);
        bytes = edited.Read();
        last = edited.output != nullptr ? std::optional(step.operation) : std::nullopt;
    }
    while (count > 0) {
        const Step& step = steps[--count];
        static CRoom room;
        const Bytes copy{room.Put(step.bytes), step.bytes.size()};
        REQUIRE(digest(Call(step.operation, other, copy, userData)) == step.answer);
    }
}

void Check(void* one, void* other, CFuzzInput& input)
{
    const Bytes userData = ChooseUserData(input);
    CheckRoundTrip(one, CCutIndependentUnits(input.Stream()).Joined(), userData);
    CheckAnyOrder(one, other, input.Stream(), userData, input);
}

}  // namespace

// Few inputs get a new handle, whose blocks have not grown yet.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const CEditor ones[] = {CEditor(VideoCodecAVC), CEditor(VideoCodecHEVC)};
    static const CEditor others[] = {CEditor(VideoCodecAVC), CEditor(VideoCodecHEVC)};
    CFuzzInput input(data, size);
    const VideoCodecType codec = input.ChooseCodec();
    if (input.Choose(256) == 255)
        Check(CEditor(codec), others[codec], input);
    else
        Check(ones[codec], others[codec], input);
    return 0;
}
