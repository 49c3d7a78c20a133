#pragma once

#include "support/Codec.h"
#include "support/PageBytes.h"

namespace videoparams::test {

inline const Bytes someBytes = {0xAB, 0xCD, 0xEF};

// An address that no function returns.
inline const unsigned char marked = 0;

struct Answer
{
    int64_t result = 0;
    const unsigned char* output = &marked;
    unsigned size = 77;

    bool IsUntouched() const { return output == Answer{}.output && size == 77; }
    bool IsNone() const { return result == 0 && output == nullptr && size == 0; }
    Bytes Read() const { return CopyOf(output, size); }
};

// A user-data handle of either codec. Inputs end at a page that may not be touched.
class UserData : public CodecTest
{
protected:
    UserData() { EXPECT_EQ(UserDataCreate(&handle, codec.type), 0); }
    ~UserData() override { EXPECT_EQ(UserDataRelease(handle), 0); }

    Answer Add(const unsigned char* data, unsigned size, const unsigned char* userData, unsigned count)
    {
        Answer answer;
        answer.result = AddUserData(handle, data, size, userData, count, &answer.output, &answer.size);
        return answer;
    }
    using Function = int64_t(void*, const unsigned char*, unsigned, const unsigned char**, unsigned*);
    Answer Call(Function* function, const unsigned char* data, unsigned size)
    {
        Answer answer;
        answer.result = function(handle, data, size, &answer.output, &answer.size);
        return answer;
    }
    Answer Get(const unsigned char* data, unsigned size) { return Call(GetUserData, data, size); }
    Answer Remove(const unsigned char* data, unsigned size) { return Call(RemoveUserData, data, size); }
    Answer Add(const Bytes& stream, const Bytes& userData = someBytes)
    {
        const PageBytes input = AtPageEnd(stream);
        const PageBytes user = AtPageEnd(userData);
        return Add(input.data(), input.size(), user.data(), user.size());
    }
    Answer Get(const Bytes& stream)
    {
        const PageBytes input = AtPageEnd(stream);
        return Get(input.data(), input.size());
    }
    Answer Remove(const Bytes& stream)
    {
        const PageBytes input = AtPageEnd(stream);
        return Remove(input.data(), input.size());
    }

    // An SEI unit of these messages and what follows them; a header as a stream may have it.
    Bytes SeiWith(const Bytes& rest) const { return Bytes{0, 0, 0, 1} + Escaped(SeiHeader() + rest); }
    Bytes OtherSei(const Bytes& rest) const
    {
        return Bytes{0, 0, 0, 1} + Escaped((codec.IsAvc() ? Bytes{0x26} : Bytes{0x4E, 2}) + rest);
    }
    Bytes SeiHeader() const { return codec.IsAvc() ? Bytes{0x06} : Bytes{0x4E, 0x01}; }

    const Bytes sets = codec.sets;
    const Bytes slice = Key();
    const Bytes bare = {0, 0, 0, 1};  // a start code alone
    const Bytes one = SeiMessage(1, {0xAA, 0xBB});
    const Bytes own = UserDataMessage(someBytes);
    void* handle = nullptr;
};

}  // namespace videoparams::test
