// The units of a byte stream (Annex B), read in pieces of constant size.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/InputFile.h"
#include "stream/UnitSource.h"

namespace tool {

class CAnnexBSource : public CUnitSource
{
public:
    CAnnexBSource(std::unique_ptr<CInputFile> file, const SourceOptions& options);

    void ForEach(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped = {}) override;
    std::unique_ptr<CUnitSink> OpenSink(const std::string& path) override;
    void PrintsLines() override;

private:
    VideoCodecType DetectCodecOfHead();

    std::unique_ptr<CInputFile> input;
    bool showsProgress = true;
};

}  // namespace tool
