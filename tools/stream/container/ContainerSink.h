// Writes a copy of a container in which samples of the video stream were edited. All other packets, the
// metadata, chapters and the order of the streams are copied; libavformat makes the new index.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/OutputFile.h"
#include "stream/UnitSink.h"
#include "stream/container/ContainerInput.h"

#include <deque>
#include <vector>

namespace tool {

class CContainerSink : public CUnitSink
{
public:
    // Throws CToolError if the format cannot be written, or not with these streams.
    CContainerSink(CContainerInput& input, uint32_t lengthSize, const OutputRequest& request);

    // The source calls these with every packet of the input in its order: of the video before it hands on the
    // units of the sample, of other streams instead. Both throw CToolError.
    void BeginSample(const std::shared_ptr<const Sample>& sample, const AVPacket& packet);
    void CopyPacket(AVPacket& packet);

    void Write(const std::shared_ptr<const Sample>& sample, const unsigned char* unit, size_t size) override;
    void WriteOther(const std::shared_ptr<const Sample>& sample, const unsigned char* bytes,
                    size_t size) override;
    void MarkKey(const std::shared_ptr<const Sample>& sample, bool isKey) override;
    void Commit() override;
    bool IsStandardOutput() const override { return false; }

private:
    struct PendingSample
    {
        std::shared_ptr<const Sample> sample;
        PacketPointer packet;  // everything but the bytes
        std::vector<unsigned char> bytes;
    };

    void MakeStreams();
    void CopyStream(const AVStream& from);
    void CopyPrograms();
    void CopyChapters();
    PendingSample& Find(const std::shared_ptr<const Sample>& sample);
    void WriteFinished(uint64_t firstUnfinished);
    void WritePacket(AVPacket& packet);
    void CheckStep(const AVPacket& packet);
    [[noreturn]] void Fail(const std::string& what, int code) const;

    CContainerInput& input;
    uint32_t lengthSize;
    COutputFile output;
    AvioFilePointer file;
    FormatPointer context;
    std::vector<int> outputIndexes;  // of the streams of the input; -1: made by the muxer from metadata
    std::vector<int64_t> lastTimes;  // the dts of the last packet, by stream of the output
    std::deque<PendingSample> pending;
};

}  // namespace tool
