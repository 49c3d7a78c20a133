// Keeps the parameter sets that an H.264 handle holds up to date. The handle holds the first ones of the
// stream and inserts them into key frames without parameter sets. If the stream changes its parameter sets,
// the program must pass the new ones to the handle.
//
//     refresh-parameter-sets FILE...    the files one after the other, as one stream
//
// SPDX-License-Identifier: MIT

#include "videoparams/nal_feeder.hpp"

#include <VideoParams.h>
#include <cstdio>
#include <vector>

namespace {

int Fail(const char* message, const char* name)
{
    std::fprintf(stderr, "refresh-parameter-sets: %s%s\n", message, name);
    return 1;
}

using Bytes = std::vector<unsigned char>;

// Returns whether the set differs from the one kept so far, and keeps it instead.
bool Keep(Bytes& kept, const unsigned char* set, unsigned int size)
{
    const Bytes found(set, set + size);
    if (found.empty() || found == kept)
        return false;
    kept = found;
    return true;
}

unsigned int SizeOf(const Bytes& bytes)
{
    return static_cast<unsigned int>(bytes.size());
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return Fail("usage: refresh-parameter-sets FILE...", "");
    void* parser = nullptr;
    if (ParseCreate(&parser, VideoCodecAVC, 0, 0) != 0)
        return Fail("out of memory", "");

    Bytes sps;
    Bytes pps;
    bool hasChanged = false;
    unsigned int number = 0;
    const auto takeUnit = [&](const unsigned char* unit, unsigned int size) {
        ParameterSetData found{};
        GetParameterSetData(parser, const_cast<unsigned char*>(unit), size, &found);
        hasChanged |= Keep(sps, found.sps, found.spsSize);
        hasChanged |= Keep(pps, found.pps, found.ppsSize);

        VideoInfo info;
        if (ParseVideoParams(parser, unit, size, &info) != 0)
            std::fputs("refresh-parameter-sets: a damaged unit was skipped\n", stderr);
        if (!info.accessUnitFound)
            return;
        if (info.keyFrame)
            std::printf("key frame, access unit %u: %u x %u\n", number, info.width, info.height);
        ++number;
        // Sets that came since the last report belong to the access unit that has just begun. They are needed
        // for this one and the next ones, not for the reported one.
        if (hasChanged && SetParameterSetData(parser, sps.data(), SizeOf(sps), pps.data(), SizeOf(pps)) != 0)
            std::fputs("refresh-parameter-sets: the parameter sets cannot be read\n", stderr);
        hasChanged = false;
    };
    CNalFeeder feeder;
    for (int i = 1; i < argc; ++i) {
        std::FILE* const file = std::fopen(argv[i], "rb");
        if (file == nullptr)
            return Fail("cannot read ", argv[i]);
        unsigned char piece[65536];
        while (const size_t size = std::fread(piece, 1, sizeof piece, file))
            feeder.Feed(piece, size, takeUnit);
        const bool isRead = std::ferror(file) == 0;
        std::fclose(file);
        if (!isRead)
            return Fail("cannot read ", argv[i]);
    }
    feeder.Finish(takeUnit);
    takeUnit(nullptr, 0);  // flush: the last access unit
    return static_cast<int>(ParseRelease(parser));
}
