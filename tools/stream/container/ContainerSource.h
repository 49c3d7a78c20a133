// The units of one video stream of a container, with the times and marks of its samples.
//
// The units of the sample description come first, and again if it changes; they belong to no sample.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "stream/UnitSource.h"
#include "stream/container/ContainerSink.h"
#include "stream/container/SampleForm.h"

namespace tool {

class CContainerSource : public CUnitSource
{
public:
    CContainerSource(std::unique_ptr<CContainerInput> opened, const SourceOptions& options);

protected:
    void ReadUnits(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped) override;
    std::unique_ptr<CUnitSink> MakeSink(OutputRequest request) override;

private:
    void DescribeContainer();
    void DiscardOtherStreams();
    void TakePacket(AVPacket& packet, const TakeUnit& takeUnit, const TakeSkipped& takeSkipped);
    void HandOnDescription(const std::vector<std::vector<unsigned char>>& sets, const TakeUnit& takeUnit);
    std::optional<int64_t> DurationOf(const AVPacket& packet) const;
    std::shared_ptr<const Sample> SampleOf(const AVPacket& packet);
    void NoteEnd();

    std::unique_ptr<CContainerInput> input;
    AVStream& video;
    uint32_t lengthSize = 0;
    CSampleCutter cutter;
    CContainerSink* sink = nullptr;  // from OpenSink on; the caller's
    uint64_t streamOffset = 0;       // of the next unit
};

}  // namespace tool
