// Joins the fields of an interlaced H.264 stream into pairs: the library reports each field as an access
// unit.
//
//     pair-fields FILE
//
// SPDX-License-Identifier: MIT

#include "videoparams/nal_feeder.hpp"

#include <VideoParams.h>
#include <cstdio>

namespace {

int Fail(const char* message, const char* name)
{
    std::fprintf(stderr, "pair-fields: %s%s\n", message, name);
    return 1;
}

// A second field immediately follows its first field, and is never a key frame.
class CFieldPairer
{
public:
    explicit CFieldPairer(void* sampleTester) : tester(sampleTester) {}

    void Take(const VideoInfo& unit)
    {
        VideoInfoEx test{};
        VideoSampleTest(tester, unit.accessUnitData, unit.accessUnitSize, &test);
        if (hasFirstField && !test.isFrame && !unit.keyFrame) {
            // The bytes of the first field are still valid: they stay so during the next four reports.
            std::printf("fields of %u and %u bytes\n", firstField.accessUnitSize, unit.accessUnitSize);
            hasFirstField = false;
            return;
        }
        Finish();
        if (test.isFrame)
            std::printf("frame of %u bytes\n", unit.accessUnitSize);
        else
            firstField = unit;
        hasFirstField = !test.isFrame;
    }

    void Finish()
    {
        if (hasFirstField)
            std::printf("single field of %u bytes\n", firstField.accessUnitSize);
        hasFirstField = false;
    }

private:
    void* tester;  // a separate handle: the analysis must not see the slice headers that the test reads
    VideoInfo firstField{};
    bool hasFirstField = false;
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return Fail("usage: pair-fields FILE", "");
    std::FILE* const file = std::fopen(argv[1], "rb");
    if (file == nullptr)
        return Fail("cannot read ", argv[1]);
    void* parser = nullptr;
    void* tester = nullptr;
    if (ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0 || ParseCreate(&tester, VideoCodecAVC, 0, 0) != 0)
        return Fail("out of memory", "");

    CFieldPairer pairer(tester);
    VideoInfo info;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        if (ParseVideoParams(parser, unit, size, &info) != 0)
            std::fputs("pair-fields: a damaged unit was skipped\n", stderr);
        if (info.accessUnitFound)
            pairer.Take(info);
    };
    CNalFeeder feeder;
    unsigned char piece[65536];
    while (const size_t size = std::fread(piece, 1, sizeof piece, file))
        feeder.Feed(piece, size, takeUnit);
    feeder.Finish(takeUnit);
    takeUnit(nullptr, 0);  // flush: the last access unit
    pairer.Finish();
    ParseRelease(tester);
    ParseRelease(parser);
    const bool isRead = std::ferror(file) == 0;
    std::fclose(file);
    return isRead ? 0 : Fail("cannot read ", argv[1]);
}
