// Puts the fields of an interlaced H.264 stream together: each is an access unit of its own.
//
//     pair-fields FILE
//
// SPDX-License-Identifier: MIT

#include "videoparams/nal_feeder.hpp"

#include <VideoParams.h>
#include <cstdio>

namespace {

// A second field follows its first one at once, and is never a key frame.
class CFieldPairer
{
public:
    explicit CFieldPairer(void* sampleTester) : tester(sampleTester) {}

    void Take(const VideoInfo& unit)
    {
        VideoInfoEx test;
        VideoSampleTest(tester, unit.accessUnitData, unit.accessUnitSize, &test);
        if (hasFirstField && !test.isFrame && !unit.keyFrame) {
            // The bytes of the first field are still there: they outlive the reports of four access units.
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
    void* tester;  // not the analysing handle: its slice headers are not to be mixed with these
    VideoInfo firstField{};
    bool hasFirstField = false;
};

}  // namespace

int main(int argc, char** argv)
{
    std::FILE* const file = argc == 2 ? std::fopen(argv[1], "rb") : nullptr;
    void* parser = nullptr;
    void* tester = nullptr;
    if (file == nullptr || ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0 ||
        ParseCreate(&tester, VideoCodecAVC, 0, 0) != 0)
        return 1;

    CFieldPairer pairer(tester);
    VideoInfo info;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        ParseVideoParams(parser, unit, size, &info);
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
    std::fclose(file);
    return ParseRelease(tester) == 0 && ParseRelease(parser) == 0 ? 0 : 1;
}
