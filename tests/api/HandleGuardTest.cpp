// What every exported function answers to a handle or an argument that it cannot use.

#define VIDEOPARAMS_BUILD  // QueryType takes a pointer, as it does in C: there a null can be passed
#include "VideoParams.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

unsigned char stream[] = {
    0, 0, 0, 1, 0x67, 0x42, 0x00, 0x1E, 0xDA, 0x0B, 0x13, 0x90,  // 176x144, pic_order_cnt_type 2
    0, 0, 0, 1, 0x68, 0xCE, 0x38, 0x80,                          // pic_parameter_set_id 0
    0, 0, 0, 1, 0x65, 0x88, 0x86, 0x42,                          // an IDR slice, slice_type 7
};

constexpr unsigned int All = sizeof stream;

// Everything that a function could write. What it leaves alone keeps its pattern.
struct Results
{
    VideoInfo info;
    VideoInfoEx test;
    VideoPicType type;
    ParameterSetData sets;
    unsigned char* unit;
    unsigned int size;
    bool isSlice;
    unsigned int length;
    unsigned char** units;
    unsigned int* sizes;
    const unsigned char* output;
};

class Arguments
{
public:
    explicit Arguments(int without = -1) : missing(without)
    {
        std::memset(static_cast<void*>(&results), 0xA5, sizeof results);
    }

    // The argument of that number, or null where it is the missing one.
    template <typename T>
    T* operator()(int number, T& value) const
    {
        return number == missing ? nullptr : &value;
    }
    unsigned int Size(int number, unsigned int size) const { return number == missing ? 0 : size; }

    bool AreUntouched() const
    {
        const Arguments fresh;
        return std::memcmp(&results, &fresh.results, sizeof results) == 0;
    }

    Results results;

private:
    int missing;
};

enum Family
{
    Parse,
    UserData
};

struct Function
{
    const char* name;
    Family family;
    int argumentCount;   // of those that may not be missing
    int64_t hevcResult;  // with one missing
    int64_t (*call)(void* handle, Arguments& a, Results& r);
};

// All but the two that make a handle; the two that release one come last.
const Function functions[] = {
    {"ParseVideoParams", Parse, 1, -1,
     [](void* h, auto& a, auto& r) { return ParseVideoParams(h, stream, All, a(0, r.info)); }},
    {"VideoSampleTest", Parse, 1, 0,
     [](void* h, auto& a, auto& r) { return VideoSampleTest(h, stream, All, a(0, r.test)); }},
    {"QueryType", Parse, 1, -1,
     [](void* h, auto& a, auto& r) { return QueryType(h, stream, All, a(0, r.type)); }},
    {"SetParameterSetData", Parse, 4, -1,
     [](void* h, auto& a, auto&) {
         return SetParameterSetData(h, a(0, stream[0]), a.Size(1, 12), a(2, stream[12]), a.Size(3, 8));
     }},
    {"GetParameterSetData", Parse, 3, -1,
     [](void* h, auto& a, auto& r) {
         return GetParameterSetData(h, a(0, stream[0]), a.Size(1, All), a(2, r.sets));
     }},
    {"GetNalFromFrame", Parse, 3, 0,
     [](void* h, auto& a, auto& r) {
         return GetNalFromFrame(h, stream, All, a(0, r.size), a(1, r.units), a(2, r.sizes));
     }},
    {"SetVideoData", Parse, 0, 0, [](void* h, auto&, auto&) { return SetVideoData(h, stream, All); }},
    {"GetNalUnit", Parse, 4, 0,
     [](void* h, auto& a, auto& r) {
         return GetNalUnit(h, a(0, r.unit), a(1, r.size), a(2, r.isSlice), a(3, r.length));
     }},
    {"AddUserData", UserData, 3, -1,
     [](void* h, auto& a, auto& r) {
         return AddUserData(h, stream, All, a(0, stream[0]), 3, a(1, r.output), a(2, r.size));
     }},
    {"GetUserData", UserData, 2, -1,
     [](void* h, auto& a, auto& r) { return GetUserData(h, stream, All, a(0, r.output), a(1, r.size)); }},
    {"RemoveUserData", UserData, 2, -1,
     [](void* h, auto& a, auto& r) { return RemoveUserData(h, stream, All, a(0, r.output), a(1, r.size)); }},
    {"ParseRelease", Parse, 0, 0, [](void* h, auto&, auto&) { return ParseRelease(h); }},
    {"UserDataRelease", UserData, 0, 0, [](void* h, auto&, auto&) { return UserDataRelease(h); }},
};

void* Make(Family family, VideoCodecType codec)
{
    void* handle = nullptr;
    EXPECT_EQ(family == Parse ? ParseCreate(&handle, codec, 0, 0) : UserDataCreate(&handle, codec), 0);
    return handle;
}

void Release(Family family, void* handle)
{
    EXPECT_EQ(family == Parse ? ParseRelease(handle) : UserDataRelease(handle), 0);
}

void ExpectRefused(const Function& function, void* handle)
{
    Arguments arguments;
    EXPECT_EQ(function.call(handle, arguments, arguments.results), -1) << function.name;
    EXPECT_TRUE(arguments.AreUntouched()) << function.name;
}

TEST(HandleGuard, NullAndHandlesOfTheOtherFamilyAreRefused)
{
    for (const Function& function : functions)
        ExpectRefused(function, nullptr);
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        for (const Family made : {Parse, UserData}) {
            void* const handle = Make(made, codec);
            for (const Function& function : functions) {
                if (function.family != made)
                    ExpectRefused(function, handle);
            }
            Release(made, handle);  // it is still valid
        }
    }
}

TEST(HandleGuard, CreationFailsWithoutAnAddressOrWithAnUnknownCodec)
{
    EXPECT_EQ(ParseCreate(nullptr, VideoCodecAVC, 0, 0), -1);
    EXPECT_EQ(UserDataCreate(nullptr, VideoCodecHEVC), -1);
    for (const int codec : {-1, 2, 0x7FFFFFFF}) {
        void* parse = stream;
        void* userData = stream;
        EXPECT_EQ(ParseCreate(&parse, static_cast<VideoCodecType>(codec), 0, 0), -1) << codec;
        EXPECT_EQ(UserDataCreate(&userData, static_cast<VideoCodecType>(codec)), -1) << codec;
        EXPECT_TRUE(parse == nullptr && userData == nullptr) << codec;
    }
}

// A walk over units under way is left alone, too.
TEST(HandleGuard, MissingArgumentChangesNothing)
{
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        for (const Function& function : functions) {
            void* const handle = Make(function.family, codec);
            SetVideoData(handle, stream, sizeof stream);
            for (int missing = 0; missing < function.argumentCount; ++missing) {
                Arguments arguments(missing);
                EXPECT_EQ(function.call(handle, arguments, arguments.results),
                          codec == VideoCodecAVC ? -1 : function.hevcResult)
                    << function.name << " without " << missing;
                EXPECT_TRUE(arguments.AreUntouched()) << function.name << " without " << missing;
            }
            if (function.family == Parse && codec == VideoCodecAVC) {
                Results r;
                EXPECT_EQ(QueryType(handle, nullptr, 9, &r.type), -1);
                EXPECT_EQ(GetNalUnit(handle, &r.unit, &r.size, &r.isSlice, &r.length), 0) << function.name;
                EXPECT_EQ(r.unit, stream) << function.name;
            }
            Release(function.family, handle);
        }
    }
}

TEST(HandleGuard, HevcHandleAnswersZeroAndWritesNothingWhereItHasNoOperation)
{
    void* const handle = Make(Parse, VideoCodecHEVC);
    for (const Function& function : functions) {
        const std::string name = function.name;
        if (function.family != Parse || name == "ParseVideoParams" || name == "QueryType" ||
            name == "ParseRelease")
            continue;
        Arguments arguments;
        EXPECT_EQ(function.call(handle, arguments, arguments.results), 0) << name;
        EXPECT_TRUE(arguments.AreUntouched()) << name;
    }
    VideoPicType type = VideoPicI;
    EXPECT_EQ(QueryType(handle, stream, sizeof stream, &type), -1);
    EXPECT_EQ(type, VideoPicUnknown);
    Release(Parse, handle);
}

}  // namespace
