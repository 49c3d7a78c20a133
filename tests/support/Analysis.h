#pragma once

#include "VideoParams.h"
#include "streams/Bytes.h"

#include <vector>

namespace videoparams::test {

using namespace streams;

// A host: feeds a parse handle and keeps what is reported.
class Analysis
{
public:
    struct Report
    {
        VideoInfo info;
        Bytes bytes;
    };

    explicit Analysis(VideoCodecType codec, unsigned queueCount = 0, unsigned queueSize = 0)
    {
        ParseCreate(&handle, codec, queueCount, queueSize);
    }
    ~Analysis() { ParseRelease(handle); }
    Analysis(const Analysis&) = delete;
    Analysis& operator=(const Analysis&) = delete;

    int64_t Feed(const unsigned char* data, uint32_t size)
    {
        VideoInfo info;
        const int64_t result = ParseVideoParams(handle, data, size, &info);
        if (info.accessUnitFound)
            reports.push_back({info, CopyOf(info.accessUnitData, info.accessUnitSize)});
        return result;
    }

    int64_t Feed(const Bytes& bytes) { return Feed(bytes.data(), Size(bytes)); }
    int64_t Flush() { return Feed(nullptr, 0); }

    void* Handle() const { return handle; }
    const std::vector<Report>& Reports() const { return reports; }

private:
    void* handle = nullptr;
    std::vector<Report> reports;
};

}  // namespace videoparams::test
