// The units of a byte stream (Annex B), read in pieces of constant size.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/InputFile.h"
#include "stream/Detection.h"
#include "stream/UnitSource.h"

namespace tool {

class CAnnexBSource : public CUnitSource
{
public:
    CAnnexBSource(std::unique_ptr<CInputFile> file, const SourceOptions& options);

protected:
    void ReadUnits(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped) override;
    std::unique_ptr<CUnitSink> MakeSink(OutputRequest request) override;

private:
    CodecRating RateHead();
    VideoCodecType ChooseCodec(std::optional<VideoCodecType> given);

    std::unique_ptr<CInputFile> input;
};

}  // namespace tool
